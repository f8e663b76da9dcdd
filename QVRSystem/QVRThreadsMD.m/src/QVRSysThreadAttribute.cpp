#include "QVRSysThreadAttribute.h"

#include <memory>

#include "QVRENotSupported.h"
#include "QVRSystem/internal/QVRFork.h"
#include "QVRSystem/internal/QVRThreadState.h"

using qvr::internal::ForkLock;
using qvr::internal::ForkRank;
using qvr::internal::ShortSection;

namespace {

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysThreadAttribute";
constexpr int kGetStackAddressLine = 554;
constexpr int kSetStackAddressLine = 599;
constexpr int kGetStackSizeLine = 653;
constexpr int kSetStackSizeLine = 704;
constexpr int kGetInheritSchedulingLine = 773;
constexpr int kSetInheritSchedulingLine = 823;
constexpr int kGetSchedulingPolicyLine = 1109;
constexpr int kSetSchedulingPolicyLine = 1184;
constexpr int kGetContentionScopeLine = 1253;
constexpr int kSetContentionScopeLine = 1318;

[[noreturn]] void refuse(int line) {
  throw QVRENotSupported(u" Current platform does not support this function", kSource, line);
}

}  // namespace

constinit qvr::internal::Atomic<const QVRSysThreadAttribute*>
    QVRSysThreadAttribute::defaultAttribute = nullptr;
QVRSysFastMutexLock QVRSysThreadAttribute::mutex_{QVRStaticObject{}};

// Within the class, whose mutex it is.
struct [[gnu::visibility("hidden")]] QVRSysThreadAttribute::Fork {
  static const ForkLock lock;
};
const ForkLock QVRSysThreadAttribute::Fork::lock(ForkRank::ThreadAttribute, mutex_.getNativeLock());

QVRSysThreadAttribute& QVRSysThreadAttribute::operator=(
    const QVRSysThreadAttribute& other) noexcept {
  if (this == &other) return *this;
  stackSize_ = other.stackSize_;
  securityAttributes_ = other.securityAttributes_;
  creationFlags_ = other.creationFlags_;
  priority_ = other.priority_;
  return *this;
}

const QVRSysThreadAttribute& QVRSysThreadAttribute::Default() {
  // Pairs with the store in makeDefault().
  const QVRSysThreadAttribute* const made = defaultAttribute.load(std::memory_order_acquire);
  return made != nullptr ? *made : makeDefault();
}

// The memory is had before the lock is taken: a caller's operator new runs without it.
const QVRSysThreadAttribute& QVRSysThreadAttribute::makeDefault() {
  auto attribute = std::make_unique<const QVRSysThreadAttribute>();
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(mutex_);
  const QVRSysThreadAttribute* made = defaultAttribute.load(std::memory_order_relaxed);
  if (made == nullptr) {
    made = attribute.release();
    defaultAttribute.store(made, std::memory_order_release);
  }
  return *made;
}

void* QVRSysThreadAttribute::getStackAddress() const { refuse(kGetStackAddressLine); }
void QVRSysThreadAttribute::setStackAddress(void* /*address*/) { refuse(kSetStackAddressLine); }
std::size_t QVRSysThreadAttribute::getStackSize() const { refuse(kGetStackSizeLine); }
void QVRSysThreadAttribute::setStackSize(std::size_t /*bytes*/) { refuse(kSetStackSizeLine); }

QVRSysInheritScheduling QVRSysThreadAttribute::getInheritScheduling() const {
  refuse(kGetInheritSchedulingLine);
}
void QVRSysThreadAttribute::setInheritScheduling(QVRSysInheritScheduling /*inherit*/) {
  refuse(kSetInheritSchedulingLine);
}
QVRSysSchedulingPolicy QVRSysThreadAttribute::getSchedulingPolicy() const {
  refuse(kGetSchedulingPolicyLine);
}
void QVRSysThreadAttribute::setSchedulingPolicy(QVRSysSchedulingPolicy /*policy*/) {
  refuse(kSetSchedulingPolicyLine);
}
QVRSysContentionScope QVRSysThreadAttribute::getContentionScope() const {
  refuse(kGetContentionScopeLine);
}
void QVRSysThreadAttribute::setContentionScope(QVRSysContentionScope /*scope*/) {
  refuse(kSetContentionScopeLine);
}
