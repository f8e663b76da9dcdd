// An allocator that would replace malloc, were it linked into the program.
#pragma once

#include <cstddef>

struct JemallocPeer {
  void* (*allocate)(std::size_t);
  void (*free)(void*);
};

__attribute__((visibility("default"))) extern const JemallocPeer jemallocPeer;
