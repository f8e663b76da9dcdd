// What a module relies on across the border of the shared libraries.
#include <QVRSystem.h>

#include <cstdlib>
#include <iostream>
#include <string>

namespace {

/// A locale of the module's own.
class CountingLocale : public QVRLocale {
 public:
  CountingLocale() : QVRLocale("") {}

  using QVRLocale::put;
  void put(std::u16string& out, long value) const override { out = value < 2 ? u"one" : u"many"; }
};

bool libraryCallsBack() {
  QVRMessage message(u"%1 entries", __FILE__, __LINE__);
  message << 7L;
  return message.scribe(CountingLocale()) == u"many entries";
}

bool failureIsCaughtByItsClass() {
  try {
    QVROSDirectory(QVROSPath("no such directory")).empty();
  } catch (const QVREOpenFailed& error) {
    return std::string(error.where()).find("QVRSystem/QVRFileUtilsMD.m") == 0;
  }
  return false;
}

}  // namespace

int main() {
  if (libraryCallsBack() && failureIsCaughtByItsClass()) return EXIT_SUCCESS;
  std::cerr << "The installed package does not serve\n";
  return EXIT_FAILURE;
}
