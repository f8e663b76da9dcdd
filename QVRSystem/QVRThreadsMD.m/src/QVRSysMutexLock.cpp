#include "QVRSysMutexLock.h"

#include <utility>

#include "QVRAssert.h"
#include "QVREInternalError.h"
#include "QVRSystem/internal/QVRNativeMutex.h"

using qvr::internal::NativeMutex;

namespace {

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysMutexLock";
constexpr int kAcquireLine = 74;
constexpr int kReleaseLine = 136;
constexpr int kInitializeLine = 188;
constexpr int kFinalizeLine = 244;
constexpr char kWaitSucceeded[] = "result == ((((DWORD )0x00000000L) ) + 0 )";
constexpr char kSucceeded[] = "result != 0";

void check(bool succeeded, const char* expression, int line) {
  if (!succeeded) QVRReportAssert("Assertion", expression, kSource, line);
}

}  // namespace

QVRSysMutexLock::QVRSysMutexLock(bool /*recursive*/) { QVRSysMutexLock::initialize(); }

QVRSysMutexLock::~QVRSysMutexLock() { QVRSysMutexLock::finalize(); }

void QVRSysMutexLock::acquire() {
  check(NativeMutex::acquire(native_) == NativeMutex::Acquired::kFromNobody, kWaitSucceeded,
        kAcquireLine);
}

void QVRSysMutexLock::release() { check(NativeMutex::release(native_), kSucceeded, kReleaseLine); }

void* QVRSysMutexLock::getNativeLock() const noexcept { return &native_; }

void QVRSysMutexLock::initialize() {
  NativeMutex* made = nullptr;
  if (NativeMutex::create(made) != 0) {
    throw QVREInternalError(u"Mutex Initialization failed", kSource, kInitializeLine);
  }
  if (native_ != nullptr) QVRSysMutexLock::finalize();
  native_ = made;
}

void QVRSysMutexLock::finalize() {
  check(NativeMutex::close(std::exchange(native_, nullptr)), kSucceeded, kFinalizeLine);
}
