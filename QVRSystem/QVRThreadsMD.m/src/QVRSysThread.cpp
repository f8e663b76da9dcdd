#include <utility>

#include "QVRAssert.h"
#include "QVREInternalError.h"
#include "QVRELogicError.h"
#include "QVREResourceLimit.h"
#include "QVRSysRunnableFunctorBody.h"
#include "QVRSysThreadBody.h"
#include "QVRSystem/internal/QVRThread.h"

using qvr::internal::Thread;
using qvr::internal::ThreadSettings;
using qvr::internal::ThreadWork;

namespace {

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysThread";
constexpr int kSetPriorityLine = 191;
constexpr int kStartSuspendedLine = 326;
constexpr int kStartNotIdleLine = 345;
constexpr int kCreationLine = 360;
constexpr int kSuspendIdleLine = 405;
constexpr int kSuspendLine = 411;
constexpr int kSuspendCountLine = 413;
constexpr int kResumeLine = 443;
constexpr int kResumeCountLine = 444;
constexpr int kResumeStateLine = 456;
constexpr int kJoinSuspendedLine = 547;
constexpr int kJoinUnknownLine = 551;

void check(bool holds, const char* expression, int line) {
  if (!holds) QVRReportAssert("Assertion", expression, kSource, line);
}

void checkSuspension(long count) {
  check(count != Thread::kFailed, "ecode != -1", kSuspendLine);
  check(count == 0, "ecode == 0", kSuspendCountLine);
}

bool isPriority(const QVRSysThreadAttribute& attribute) {
  const int priority = attribute.getPriority();
  return attribute.getMinimumPriority() <= priority && priority <= attribute.getMaximumPriority();
}

ThreadSettings settingsOf(const QVRSysThreadAttribute& attribute) {
  ThreadSettings settings;
  settings.stackSize = attribute.getInitialCommittedStackSize();
  settings.isSuspended = (attribute.getCreateSuspendedFlag() & QVR_SYS_CREATE_SUSPENDED) != 0;
  settings.isJoinable = attribute.getDetachState() == QVR_SYS_JOINABLE;
  if (isPriority(attribute)) settings.niceValue = -attribute.getPriority();
  return settings;
}

}  // namespace

QVRSysThreadBody::QVRSysThreadBody(QVRCountedPointer<QVRSysIRunnableBody> runnable)
    : QVRSysThreadBody(std::move(runnable), QVRSysThreadAttribute::Default()) {}

QVRSysThreadBody::QVRSysThreadBody(QVRCountedPointer<QVRSysIRunnableBody> runnable,
                                   const QVRSysThreadAttribute& attribute)
    : runnable_(std::move(runnable)), attribute_(attribute) {}

QVRSysThreadBody::~QVRSysThreadBody() noexcept(false) {
  // Whatever join() throws, the thread must not outlive what it was to be joined by.
  struct LetGo {
    QVRSysThreadBody& body;
    ~LetGo() { body.letGo(); }
  };
  const LetGo letGo{*this};
  join();
}

void QVRSysThreadBody::start() {
  if (isSuspended()) {
    throw QVREInternalError(u" Trying to start a suspended thread; \t\t\tresume it first ", kSource,
                            kStartSuspendedLine);
  }
  if (isRunning()) join();
  check(isIdle(), "state_ == QVR_SYS_IDLE", kStartNotIdleLine);
  setState(QVR_SYS_RUNNING);
  create();
}

// Its own reference to the runnable.
ThreadWork QVRSysThreadBody::makeWork() const {
  using Runnable = QVRSysIRunnableBody;
  if (runnable_) runnable_->addReference();
  return {[](void* what) { static_cast<Runnable*>(what)->run(); },
          [](void* what) { return static_cast<Runnable*>(what)->dropReference() == 0; },
          [](void* what) { delete static_cast<Runnable*>(what); }, runnable_.get()};
}

// The new thread finds its body complete: what it is known by is written before it runs. Where
// there is none, the body keeps the identifier of the one before.
void QVRSysThreadBody::create() {
  id_ = getThreadId();
  letGo();
  thread_ = new Thread(makeWork());
  if (thread_->start(settingsOf(attribute_)) == 0) return;
  letGo();
  throw QVREResourceLimit(u" Thread creation failed ", kSource, kCreationLine);
}

// The thread, where there is one, is on its own from here on.
void QVRSysThreadBody::letGo() noexcept {
  if (Thread* const thread = std::exchange(thread_, nullptr)) thread->letGo();
}

bool QVRSysThreadBody::suspend() {
  const QVRSysExecutionState state = getState();
  if (state == QVR_SYS_SUSPENDED) return true;
  if (state == QVR_SYS_IDLE) {
    throw QVRELogicError(u" Trying to suspend an idle thread ", kSource, kSuspendIdleLine);
  }
  if (state != QVR_SYS_RUNNING) return false;
  if (thread_ != nullptr && thread_->isCaller()) return suspendSelf();
  const long count = thread_ == nullptr ? Thread::kFailed : thread_->suspend();
  checkSuspension(count);
  setState(QVR_SYS_SUSPENDED);
  return true;
}

// Whoever finds it suspended can resume it at once.
bool QVRSysThreadBody::suspendSelf() {
  Thread& self = *thread_;
  checkSuspension(self.suspendCaller());
  setState(QVR_SYS_SUSPENDED);
  self.stand();
  return true;
}

void QVRSysThreadBody::resume() {
  if (!isSuspended()) {
    throw QVRELogicError(u" Trying to resume a thread \t\t\tthat was not suspended ", kSource,
                         kResumeStateLine);
  }
  // Before it runs: it may suspend itself again at once.
  setState(QVR_SYS_RUNNING);
  const long count = thread_ == nullptr ? Thread::kFailed : thread_->resume();
  check(count != Thread::kFailed, "ecode != -1", kResumeLine);
  check(count == 1, "ecode == 1", kResumeCountLine);
}

bool QVRSysThreadBody::join() {
  if (attribute_.getDetachState() != QVR_SYS_JOINABLE) return false;
  switch (getState()) {
    case QVR_SYS_IDLE:
      return true;
    case QVR_SYS_SUSPENDED:
      throw QVREInternalError(
          u" cannot join / delete a suspended thread; resume it or cancel it first ", kSource,
          kJoinSuspendedLine);
    case QVR_SYS_RUNNING:
      return thread_ == nullptr || !thread_->isCaller() ? joinRunning() : false;
  }
  throw QVREInternalError(u" unknown thread state ", kSource, kJoinUnknownLine);
}

bool QVRSysThreadBody::joinRunning() {
  const bool hasEnded = thread_ != nullptr && thread_->join();
  id_ = getThreadId();
  id_.clear();
  letGo();
  setState(QVR_SYS_IDLE);
  return hasEnded;
}

bool QVRSysThreadBody::cancel() {
  if (isIdle()) return true;
  if (thread_ == nullptr) return false;
  Thread& thread = *thread_;
  // Whoever finds it idle may start another one at once.
  if (thread.isCaller()) setState(QVR_SYS_IDLE);
  if (!thread.cancel()) return false;
  setState(QVR_SYS_IDLE);
  return true;
}

bool QVRSysThreadBody::setRunnable(QVRCountedPointer<QVRSysIRunnableBody> runnable) {
  if (!isIdle()) return false;
  runnable_ = std::move(runnable);
  return true;
}

QVRSysThreadId QVRSysThreadBody::getThreadId() const noexcept {
  return thread_ == nullptr ? id_ : QVRSysThreadId(thread_->id());
}

void QVRSysThreadBody::setPriority(int priority) {
  attribute_.setPriority(priority);
  if (isIdle()) return;
  const bool isSet = isPriority(attribute_) && thread_ != nullptr &&
                     thread_->setNiceValue(-attribute_.getPriority());
  check(isSet, "result", kSetPriorityLine);
}

bool operator==(QVRCountedPointer<QVRSysThreadBody> left,
                QVRCountedPointer<QVRSysThreadBody> right) {
  return left->getThreadId() == right->getThreadId();
}

bool operator<(QVRCountedPointer<QVRSysThreadBody> left,
               QVRCountedPointer<QVRSysThreadBody> right) {
  return left->getThreadId() < right->getThreadId();
}

QVRCountedPointer<QVRSysThreadBody> QVRMakeThread(QVRFunctor0 functor) {
  const QVRCountedPointer<QVRSysIRunnableBody> runnable(
      new QVRSysRunnableFunctorBody(std::move(functor)));
  return new QVRSysThreadBody(runnable);
}
