#include "QVRClassInfo.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <ostream>
#include <string_view>

namespace {

/// The name as one reads it in the source.
std::string readableName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  if (text == nullptr) throw std::bad_alloc();  // the compiler's own names are well formed
  return text.get();
}

void eraseLast(std::string& text, std::string_view part) {
  if (const auto at = text.rfind(part); at != std::string::npos) text.erase(at, part.size());
}

void eraseAll(std::string& text, std::string_view part) {
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part)) {
    text.erase(at, part.size());
  }
}

}  // namespace

QVRClassInfo::QVRClassInfo(const std::type_info& pointerType, std::size_t objectSize,
                           QVRDynamicObject* (*factory)(), const QVRClassInfo* base1,
                           const QVRClassInfo* base2)
    : name_(FilterClassName(readableName(pointerType).c_str())),
      type_(&pointerType),
      hash_(pointerType.hash_code()),
      objectSize_(objectSize),
      factory_(factory),
      bases_{base1 != nullptr ? base1 : base2, base1 != nullptr ? base2 : nullptr} {}

bool QVRClassInfo::isDerivedFrom(const QVRClassInfo& other) const noexcept {
  for (const QVRClassInfo* info = this; info != nullptr; info = info->bases_[0]) {
    if (info->isInstanceOf(other)) return true;
    const QVRClassInfo* const second = info->bases_[1];
    if (second != nullptr && second->isDerivedFrom(other)) return true;
  }
  return false;
}

std::string QVRClassInfo::FilterClassName(const char* rawName) {
  std::string name = rawName;
  const auto star = name.rfind('*');
  if (star == std::string::npos) return name;
  name.erase(star, 1);
  eraseLast(name, "__ptr64");
  for (const char* part : {"class ", "struct ", "union ", "std::", " "}) eraseAll(name, part);
  return name;
}

// Numbers as text: whatever the stream's base and locale, they are plain decimal.
std::ostream& operator<<(std::ostream& out, const QVRClassInfo& info) {
  out << "Class: " << info.getClassName() << std::endl
      << "    ObjectSize    = " << std::to_string(info.getObjectSize()) << std::endl
      << "    Constructable = " << (info.isConstructable() ? "Yes" : "No") << std::endl;
  if (info.getBaseCount() == 0) out << "    No base classes" << std::endl;
  for (std::size_t i = 0; i < info.getBaseCount(); ++i) {
    out << "    Base " << std::to_string(i + 1) << "        = "
        << info.getBaseInfo(i).getClassName() << std::endl;
  }
  return out;
}
