// For Valgrind: reads a block of a pool, with the argument "free" after giving it back.
#include <string_view>

#include "QVRPoolAllocator.h"

int main(int argc, char** argv) {
  constexpr std::size_t kSize = 64;
  const bool freesFirst = argc == 2 && argv[1] == std::string_view("free");
  QVRPoolAllocator pool;
  void* const block = pool.allocate(kSize);
  volatile auto* const bytes = static_cast<unsigned char*>(block);
  bytes[1] = 'x';

  if (freesFirst) pool.deallocate(block, kSize);
  const bool isKept = bytes[1] == 'x';
  if (!freesFirst) pool.deallocate(block, kSize);

  return isKept ? 0 : 1;
}
