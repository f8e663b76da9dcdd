// A shared library that contains the allocator's static one and hides all it exports:
// here alone malloc is not the C library's. (Loading its own shared library while the
// program runs does not do: there is no room left for its thread-local data.)
#include "JemallocPeer.h"

#include <cstdlib>

const JemallocPeer jemallocPeer{&std::malloc, &std::free};
