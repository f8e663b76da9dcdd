// A module of its own, loaded locally, that makes functors and runnables.
#include "QVRBlockAllocator.h"
#include "QVRSysRunnableFunctorBody.h"
#include "QVRSysThreadId.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

void throwNumber() { throw 5; }

}  // namespace

/// The caller's.
MODULE_EXPORT QVRFunctor0* makeYield() {
  return new QVRFunctor0(QVRMakeFunctor0(&QVRSysThreadYield));
}

/// The caller's.
MODULE_EXPORT QVRFunctor0* makeCompact(QVRBlockAllocator* allocator) {
  return new QVRFunctor0(QVRMakeFunctor0(allocator, &QVRBlockAllocator::compact));
}

/// The caller's.
MODULE_EXPORT QVRSysIRunnableBody* makeThrowingRunnable() {
  return new QVRSysRunnableFunctorBody(QVRMakeFunctor0(&throwNumber));
}
