#include "QVRSysRunnableFunctorBody.h"

#include "QVREInternalError.h"
#include "QVRSystem/internal/QVRUnwinding.h"

namespace {

constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysRunnableFunctor";
constexpr int kRunLine = 89;

}  // namespace

void QVRSysRunnableFunctorBody::initialize() {}

void* QVRSysRunnableFunctorBody::run() {
  try {
    return _run();
  } catch (...) {
    if (qvr::internal::isPlatformUnwinding()) throw;
    return nullptr;
  }
}

void QVRSysRunnableFunctorBody::finalize() {}

void* QVRSysRunnableFunctorBody::_run() {
  if (!functor_.isValid()) {
    throw QVREInternalError(u" the runnable functor has a null functor ", kSource, kRunLine);
  }
  functor_();
  return nullptr;
}

bool operator==(const QVRSysRunnableFunctorBody& a, const QVRSysRunnableFunctorBody& b) {
  return a.functor_ == b.functor_;
}

bool operator<(const QVRSysRunnableFunctorBody& a, const QVRSysRunnableFunctorBody& b) {
  return a.functor_ < b.functor_;
}
