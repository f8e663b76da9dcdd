// A module whose initialiser reads from a descriptor that the environment names.
#include <unistd.h>

#include <cstdlib>

namespace {

struct Reader {
  Reader() {
    if (const char* const descriptor = std::getenv("QVR_TEST_INITIALISER_READS")) {
      hasRead = read(std::atoi(descriptor), &byte, 1) == 1;
    }
  }
  char byte = 0;
  bool hasRead = false;
};

const Reader reader;

}  // namespace
