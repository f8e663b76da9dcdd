#include "QVRSystem/internal/QVRBiasedLock.h"

#include <algorithm>

#include "QVRSystem/internal/QVRBiasPolicy.h"
#include "QVRSystem/platform/QVRPlatformThread.h"

namespace qvr::internal {

namespace {

/// @return whether the system did so.
bool orderAllThreads() noexcept {
  if (platform::barrierOfAllThreads() == 0) return true;
  // Refused though it was granted, as by a filter of system calls that came later.
  // Stores leave a processor within microseconds, whatever their thread does.
  constexpr std::uint64_t kLongAfterwardsMs = 20;
  int before = 0;
  platform::holdCancellation(before);
  platform::sleepFor(kLongAfterwardsMs);
  platform::restoreCancellation(before);
  return false;
}

/// Of a run that no thread has.
constexpr std::uint32_t kEndless = UINT32_MAX;

}  // namespace

void BiasedLock::acquireShared(BiasedLockStorage& storage) noexcept {
  prepareBiasedThread();
  BiasedLock lock(storage);
  lock.takeShared();
  // Not with the shared lock held: it would stay held if this thread were ended asleep.
  while (!lock.endOthersBias()) {
    BiasedThread& leaving = *storage.leaving;
    const std::uint32_t turn = storage.turn;
    lock.shared().release();
    sleepForTurn(leaving, turn);
    lock.takeShared();
  }
  lock.considerBias();
}

void BiasedLock::releaseShared(BiasedLockStorage& storage) noexcept {
  RecursiveLock(storage.shared).release();
}

// Whoever has the shared lock mostly becomes the owner, and gives it back at once. A look
// at it meanwhile would only keep that thread from having it several times in a row.
void BiasedLock::takeShared() noexcept {
  if (shared().tryAcquire()) return;
  relax();
  shared().acquire();
}

/// @return whether nobody is inside by a bias any more.
bool BiasedLock::endOthersBias() noexcept {
  // Acquire pairs with the release in giveUp(): what the owner did is visible.
  BiasedThread* const other = owner().load(std::memory_order_acquire);
  if (other == knownBiasedThread()) return true;
  if (other != nullptr) {
    if (!ownerGivesUp(*other)) revoke(*other);
    weigh(*other);
  }
  return isAlone();
}

// With the shared lock held, for which others sleep meanwhile.
bool BiasedLock::ownerGivesUp(BiasedThread& other) noexcept {
  if (!isAtWork(other)) return false;
  ask(other);
  for (int look = 0; look < BiasPolicy::kLooksAtTheOwner; ++look) {
    pause();
    // Acquire as in endOthersBias().
    if (owner().load(std::memory_order_acquire) == nullptr) return true;
  }
  return false;
}

bool BiasedLock::isAtWork(BiasedThread& other) noexcept {
  const Word turns(other.turns);
  const std::uint32_t before = turns.load(std::memory_order_relaxed);
  relax();
  return turns.load(std::memory_order_relaxed) != before;
}

void BiasedLock::ask(BiasedThread& other) noexcept {
  isWanted().store(1, std::memory_order_relaxed);
  // Release pairs with the acquire in answer(): what is wanted is seen there.
  Word(other.awaited).fetch_or(kAnswer, std::memory_order_release);
}

void BiasedLock::revoke(BiasedThread& other) noexcept {
  owner().store(nullptr, std::memory_order_relaxed);
  if (!orderAllThreads()) storage_.neededRun = kEndless;
  // Acquire pairs with the release in endTurn(): what the owner did is visible.
  const std::uint32_t turn = Word(other.turns).load(std::memory_order_acquire);
  if (turn % 2 == 0) return;
  storage_.leaving = &other;
  storage_.turn = turn;
}

/// @return whether the thread whose bias was revoked has left.
bool BiasedLock::isAlone() noexcept {
  if (storage_.leaving == nullptr) return true;
  // Acquire as in revoke().
  const std::uint32_t turn = Word(storage_.leaving->turns).load(std::memory_order_acquire);
  if (turn == storage_.turn) return false;
  storage_.leaving = nullptr;
  return true;
}

void BiasedLock::sleepForTurn(BiasedThread& other, std::uint32_t turn) noexcept {
  const Word turns(other.turns);
  while (turns.load(std::memory_order_relaxed) == turn) {
    Word(other.awaited).fetch_or(kWakeUp, std::memory_order_relaxed);
    // Pairs with the order in endTurn(): the owner sees that it is awaited, or its turn is
    // seen to have ended.
    orderAllThreads();
    waitWhile(other.turns, turn);
  }
}

// Whoever sleeps is woken at the end of any turn. A bias is given up only if it is that of
// the lock at hand: whoever waits for another does not wait for ever.
void BiasedLock::answer(BiasedLockStorage& storage) noexcept {
  BiasedThread& self = *knownBiasedThread();
  const Word word(self.awaited);
  do {
    const std::uint32_t awaited = word.exchange(0, std::memory_order_acquire);
    if ((awaited & kWakeUp) != 0) wakeAll(&self.turns);
    if ((awaited & kAnswer) != 0) BiasedLock(storage).giveUp(self);
  } while (word.load(std::memory_order_relaxed) != 0);
}

// In a turn: whoever revokes the bias instead waits until this one no longer writes.
void BiasedLock::giveUp(BiasedThread& self) noexcept {
  if (isWanted().load(std::memory_order_relaxed) == 0) return;
  const std::uint32_t turn = beginTurn(self);
  // Release pairs with the acquire of whoever finds no owner.
  if (isStillOwner(self)) owner().store(nullptr, std::memory_order_release);
  endTurn(self, turn);
}

void BiasedLock::weigh(BiasedThread& other) noexcept {
  std::uint32_t& run = storage_.neededRun;
  if (run == kEndless) return;
  const std::uint32_t turns = Word(other.turns).load(std::memory_order_relaxed);
  if ((turns - storage_.firstTurn) / 2 >= BiasPolicy::kWorthwhileTurns) {
    run = 0;
  } else {
    run = std::clamp(2 * run, BiasPolicy::kFirstRun, BiasPolicy::kLongestRun);
  }
}

void BiasedLock::considerBias() noexcept {
  BiasedThread* const thread = knownBiasedThread();
  if (thread == &noBiasedThread || thread == storage_.owner) return;
  const std::uint32_t self = currentThreadId();
  if (storage_.lastUser != self) {
    storage_.lastUser = self;
    storage_.run = 0;
  }
  if (storage_.run++ >= storage_.neededRun) becomeOwner(*thread);
}

void BiasedLock::becomeOwner(BiasedThread& self) noexcept {
  isWanted().store(0, std::memory_order_relaxed);
  storage_.firstTurn = Word(self.turns).load(std::memory_order_relaxed);
  owner().store(&self, std::memory_order_relaxed);
}

void BiasedLock::keepOthersOut() noexcept {
  BiasedThread* const other = owner().load(std::memory_order_acquire);  // as endOthersBias()
  if (other == knownBiasedThread()) return;
  if (other != nullptr) revoke(*other);
  while (!isAlone()) sleepForTurn(*storage_.leaving, storage_.turn);
}

}  // namespace qvr::internal
