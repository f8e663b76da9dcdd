// A module that can be loaded. Its initialiser runs the function whose address is in the
// environment.
#include <cstdint>
#include <cstdlib>

#define QVR_EXPORT extern "C" [[gnu::visibility("default")]]

QVR_EXPORT int build();
QVR_EXPORT int add(int a, int b);
QVR_EXPORT void count();
QVR_EXPORT int counted;
#ifdef QVR_LATER_BUILD
QVR_EXPORT int laterOnly();

int laterOnly() { return 0; }
int build() { return 2; }
#else
int build() { return 1; }
#endif

int counted = 0;

int add(int a, int b) { return a + b; }
void count() { ++counted; }

// An exported name whose value is null.
asm(".globl nothing\n.type nothing, @object\n.set nothing, 0\n");

namespace {

[[maybe_unused]] const bool initialised = [] {
  if (const char* const address = std::getenv("QVR_TEST_INITIALISER")) {
    reinterpret_cast<void (*)()>(std::strtoull(address, nullptr, 10))();
  }
  return true;
}();

}  // namespace
