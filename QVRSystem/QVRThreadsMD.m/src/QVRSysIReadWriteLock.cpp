#include "QVRSysIReadWriteLock.h"

// Here rather than inline, so that the library has the class's record, which every
// module then shares: no class of the library implements the interface.
QVRSysIReadWriteLock::QVRSysIReadWriteLock() = default;
