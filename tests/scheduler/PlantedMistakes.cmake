# One mistake after the other in the shipped sources; each is found.
# Where a line of theirs has changed, the mistake is planted anew.
set(native_mutex_users
  internal/QVRNativeMutex.cpp
  QVRThreadsMD.m/src/QVRSysCondition.cpp
  QVRThreadsMD.m/src/QVRSysMutexLock.cpp)
set(wait_list_users
  QVRThreadsMD.m/src/QVRReadersWriterLock.cpp
  QVRThreadsMD.m/src/QVRSysCondition.cpp)
set(planted_scenarios QVRLockScenarios)
set(planted_library QVRScheduledLocks)

# The fast mutex and the critical section.
qvr_planted_mistake(PlantedSleepersForgotten FOUND_BY QVRSysFastMutexLock/
  IN internal/QVRRecursiveLock.cpp
  LINE "  while (lock.word().exchange(kContended, std::memory_order_acquire) != kFree) {"
  BECOMES "  while (lock.word().exchange(kHeld, std::memory_order_acquire) != kFree) {")
qvr_planted_mistake(PlantedSleepOnAFreeLock FOUND_BY QVRSysCriticalSection/
  IN internal/QVRRecursiveLock.cpp
  LINE "    waitWhile(storage[0], kContended);"
  BECOMES "    waitWhile(storage[0], lock.word().load());")
qvr_planted_mistake(PlantedWakeBeforeRelease FOUND_BY QVRSysFastMutexLock/
  IN internal/QVRRecursiveLock.cpp
  LINE "  if (AtomicWord(*word).exchange(kFree, std::memory_order_release) == kContended) wakeOne(word);"
  BECOMES "  if (AtomicWord(*word).load() == kContended) wakeOne(word);
  AtomicWord(*word).store(kFree);")
qvr_planted_mistake(PlantedHolderNotNoted FOUND_BY QVRSysCriticalSection/
  IN internal/QVRRecursiveLock.cpp
  LINE "  lock.holder().store(currentThreadId(), std::memory_order_relaxed);"
  BECOMES "")
qvr_planted_mistake(PlantedReleaseByAnybody FOUND_BY QVRSysCriticalSection/
  IN include/QVRRecursiveLock.h COMPILED_IN QVRThreadsMD.m/src/QVRSysCriticalSection.cpp
  SCENARIOS QVRSysCriticalSectionScenarios.cpp
  LINE "  bool release() noexcept {
    if (holder().load(std::memory_order_relaxed) != knownThreadId()) return false;"
  BECOMES "  bool release() noexcept {")
qvr_planted_mistake(PlantedFirstUseForgetsHolds FOUND_BY QVRSysFastMutexLock/firstUseOfZeros
  IN QVRThreadsMD.m/src/QVRSysFastMutexLock.cpp
  LINE "  if (seen != kNotInitialised) RecursiveLock(native_).reset();"
  BECOMES "  if (seen != kInitialised) RecursiveLock(native_).reset();")

# The biased lock.
qvr_planted_mistake(PlantedOwnerNotWaitedFor FOUND_BY QVRBiasedLock/
  IN internal/QVRBiasedLock.cpp
  LINE "  if (turn % 2 == 0) return;"
  BECOMES "  if (turn % 2 < 2) return;")
qvr_planted_mistake(PlantedOwnerWaitedForByOne FOUND_BY QVRBiasedLock/
  IN internal/QVRBiasedLock.cpp
  LINE "  if (turn == storage_.turn) return false;
  storage_.leaving = nullptr;
  return true;"
  BECOMES "  storage_.leaving = nullptr;
  return turn != storage_.turn;")
qvr_planted_mistake(PlantedOwnerNotKeptOut FOUND_BY QVRBiasedLock/keepOthersOut
  IN internal/QVRBiasedLock.cpp
  LINE "  while (!isAlone()) sleepForTurn(*storage_.leaving, storage_.turn);"
  BECOMES "")
qvr_planted_mistake(PlantedOwnerWakesNobody FOUND_BY QVRBiasedLock/
  IN internal/QVRBiasedLock.cpp
  LINE "    if ((awaited & kWakeUp) != 0) wakeAll(&self.turns);"
  BECOMES "")
qvr_planted_mistake(PlantedOneWaiterWoken FOUND_BY QVRBiasedLock/
  IN internal/QVRBiasedLock.cpp
  LINE "    if ((awaited & kWakeUp) != 0) wakeAll(&self.turns);"
  BECOMES "    if ((awaited & kWakeUp) != 0) wakeOne(&self.turns);")
qvr_planted_mistake(PlantedSleepUnannounced FOUND_BY QVRBiasedLock/
  IN internal/QVRBiasedLock.cpp
  LINE "    Word(other.awaited).fetch_or(kWakeUp, std::memory_order_relaxed);"
  BECOMES "")
qvr_planted_mistake(PlantedGivenUpWithoutALook FOUND_BY QVRBiasedLock/biasGoesToAndFro
  IN internal/QVRBiasedLock.cpp
  LINE "  if (isStillOwner(self)) owner().store(nullptr, std::memory_order_release);"
  BECOMES "  owner().store(nullptr, std::memory_order_release);")
qvr_planted_mistake(PlantedGivenUpOutsideATurn FOUND_BY QVRBiasedLock/biasGoesToAndFro
  IN internal/QVRBiasedLock.cpp
  LINE "  const std::uint32_t turn = beginTurn(self);
  // Release pairs with the acquire of whoever finds no owner.
  if (isStillOwner(self)) owner().store(nullptr, std::memory_order_release);
  endTurn(self, turn);"
  BECOMES "  if (isStillOwner(self)) owner().store(nullptr, std::memory_order_release);")
qvr_planted_mistake(PlantedOwnerDoesNotLook FOUND_BY QVRBiasedLock/briefHolds
  IN internal/QVRBiasedLock.h COMPILED_IN internal/QVRBiasedLock.cpp
  SCENARIOS QVRBiasedLockScenarios.cpp
  LINE "    return owner().load(std::memory_order_relaxed) == &self;"
  BECOMES "    return true;")
qvr_planted_mistake(PlantedOwnerLeavesUnheard FOUND_BY QVRBiasedLock/
  IN internal/QVRBiasedLock.h COMPILED_IN internal/QVRBiasedLock.cpp
  SCENARIOS QVRBiasedLockScenarios.cpp
  LINE "    return Word(self.awaited).load(std::memory_order_relaxed) == 0;"
  BECOMES "    return true;")

# The mutex.
qvr_planted_mistake(PlantedHolderForgottenTooLate FOUND_BY QVRSysMutexLock/
  IN internal/QVRNativeMutex.h COMPILED_IN ${native_mutex_users}
  LINE "  holder_.store(kNobody, std::memory_order_release);  // pairs with isHeldByAnother()"
  BECOMES "")
qvr_planted_mistake(PlantedEndOfHolderUntold FOUND_BY QVRSysMutexLock/holderEnds
  IN internal/QVRNativeMutex.h COMPILED_IN ${native_mutex_users}
  LINE "  return error == 0 ? Acquired::kFromNobody : Acquired::kFromEndedHolder;"
  BECOMES "  return Acquired::kFromNobody;")

# The condition.
qvr_planted_mistake(PlantedDeferredWakeForgotten FOUND_BY QVRSysCondition/
  IN internal/QVRNativeMutex.h COMPILED_IN ${native_mutex_users}
  LINE "  if (platform::releaseMutex(mutex_) == 0) {
    giveDeferredWake();"
  BECOMES "  if (platform::releaseMutex(mutex_) == 0) {")
qvr_planted_mistake(PlantedReleaseBeforeTheQueue FOUND_BY QVRSysCondition/
  IN QVRThreadsMD.m/src/QVRSysCondition.cpp
  LINE "  ListedWait self(waiters_, queueLock_);
  NativeMutex::release(lock_.native_);"
  BECOMES "  NativeMutex::release(lock_.native_);
  ListedWait self(waiters_, queueLock_);")
qvr_planted_mistake(PlantedSignalDropsTheOthers FOUND_BY QVRSysCondition/signalGoesToTheLongestWaiting
  IN QVRThreadsMD.m/src/QVRSysCondition.cpp
  LINE "  return WaitList(waiters_).takeFirst();"
  BECOMES "  return WaitList(waiters_).takeAll();")
qvr_planted_mistake(PlantedBroadcastToOne FOUND_BY QVRSysCondition/broadcastWakesThoseThatWait
  IN QVRThreadsMD.m/src/QVRSysCondition.cpp
  LINE "  WaitList::wakeAll(first);"
  BECOMES "  if (first != nullptr) first->wake();")
qvr_planted_mistake(PlantedWaitNotRepeated FOUND_BY QVRSysCondition/
  IN internal/QVRWaitList.h COMPILED_IN ${wait_list_users}
  LINE "    while (state.load(std::memory_order_acquire) == kWaiting) waitWhile(state_, kWaiting);"
  BECOMES "    if (state.load(std::memory_order_acquire) == kWaiting) waitWhile(state_, kWaiting);")

# The reference count.
qvr_planted_mistake(PlantedCountReadAgain FOUND_BY QVRCountedPointer/
  IN include/QVRCountedObject.h COMPILED_IN QVRObjectMD.m/src/QVRCountedObject.cpp
  SCENARIOS QVRCountedPointerScenarios.cpp
  LINE "    const unsigned int count = dropReference();"
  BECOMES "    dropReference();
    const unsigned int count = getReferences();")
qvr_planted_mistake(PlantedReferenceNotAdded FOUND_BY QVRCountedPointer/copiesKeepTheObject
  IN include/QVRCountedObject.h COMPILED_IN QVRObjectMD.m/src/QVRCountedObject.cpp
  SCENARIOS QVRCountedPointerScenarios.cpp
  LINE "  unsigned int addReference() noexcept { return static_cast<unsigned int>(count_.increment()); }"
  BECOMES "  unsigned int addReference() noexcept { return getReferences() + 1; }")

# The spin lock.
qvr_planted_mistake(PlantedAtomicLockLooksFirst FOUND_BY QVRAtomicLock/
  IN include/QVRAtomicLock.h COMPILED_IN QVRThreadsMD.m/src/QVRSpinLock.cpp
  SCENARIOS QVRSpinLockScenarios.cpp
  LINE "  bool acquire() noexcept QVR_TRY_ACQUIRE(true) { return word_.exchange(kHeld) == kFree; }"
  BECOMES "  bool acquire() noexcept {
    const bool free = word_.load() == kFree;
    word_.store(kHeld);
    return free;
  }")
qvr_planted_mistake(PlantedSpinLockSeenNotTaken FOUND_BY QVRSpinLock/
  IN QVRThreadsMD.m/src/QVRSpinLock.cpp
  LINE "  } while (!lock_.acquire());"
  BECOMES "  } while (lock_.isLocked());")
qvr_planted_mistake(PlantedSpinLockNeverYields FOUND_BY QVRSpinLock/exclusion
  IN QVRThreadsMD.m/src/QVRSpinLock.cpp
  LINE "    if (reads == SpinLimit) QVRSysThreadYield();"
  BECOMES "")

# The readers-writer lock.
qvr_planted_mistake(PlantedReadersPassWaitingWriters FOUND_BY QVRReadersWriterLock/waitingWriterGoesFirst
  IN QVRThreadsMD.m/src/QVRReadersWriterLock.cpp
  LINE "  while (lockCount_ < 0 || writers_.count > 0) wait(readers_);"
  BECOMES "  while (lockCount_ < 0) wait(readers_);")
qvr_planted_mistake(PlantedWriterLooksOnce FOUND_BY QVRReadersWriterLock/
  IN QVRThreadsMD.m/src/QVRReadersWriterLock.cpp
  LINE "  while (lockCount_ != 0) wait(writers_);"
  BECOMES "  if (lockCount_ != 0) wait(writers_);")
qvr_planted_mistake(PlantedNestedReadWaits FOUND_BY QVRReadersWriterLock/readsAgainWhileAWriterWaits
  IN QVRThreadsMD.m/src/QVRReadersWriterLock.cpp
  LINE "  if (isNestedRead(self)) return;"
  BECOMES "  if (writers_.count == 0 && isNestedRead(self)) return;")
qvr_planted_mistake(PlantedUpgradeGranted FOUND_BY QVRReadersWriterLock/upgradeIsRefused
  IN QVRThreadsMD.m/src/QVRReadersWriterLock.cpp
  LINE "  return lockCount_ >= 1 && findThread(thread) >= 0;"
  BECOMES "  return lockCount_ >= 2 && findThread(thread) >= 0;")
qvr_planted_mistake(PlantedReadersLeftAsleep FOUND_BY QVRReadersWriterLock/
  IN QVRThreadsMD.m/src/QVRReadersWriterLock.cpp
  LINE "  return WaitList(readers_.list).takeAll();"
  BECOMES "  return nullptr;")
qvr_planted_mistake(PlantedFreedBeforeTheMonitor
  FOUND_BY QVRReadersWriterLock/destructionAfterReaders
  IN QVRThreadsMD.m/src/QVRReadersWriterLock.cpp
  LINE "  if (lockCount_ == 0) holders_.clear();"
  BECOMES "  if (lockCount_ == 0) {
    holders_.clear();
    if (readers_.count + writers_.count == 0) word_.store(kFree);
  }")
qvr_planted_mistake(PlantedWordReadThenMarked FOUND_BY QVRReadersWriterLock/
  IN QVRThreadsMD.m/src/QVRReadersWriterLock.cpp
  LINE "  const std::uint64_t word = word_.exchange(kInTable, std::memory_order_acquire);"
  BECOMES "  const std::uint64_t word = word_.load();
  word_.store(kInTable);")

# The queue and the thread pool.
set(planted_scenarios QVRThreadScenarios)
set(planted_library QVRScheduledThreads)
qvr_planted_mistake(PlantedStopNotNoticed FOUND_BY QVRSysPCQueue/
  IN include/QVRSysPCQueue.h COMPILED_IN QVRThreadsMD.m/src/QVRSysPCBuffer.cpp
  SCENARIOS QVRSysPCQueueScenarios.cpp
  LINE "  bool isStoppedSince(std::uint64_t begun) const noexcept { return isStopped() || run() != begun; }"
  BECOMES "  bool isStoppedSince(std::uint64_t) const noexcept { return isStopped(); }")
qvr_planted_mistake(PlantedItemNotSignalled FOUND_BY QVRSysPCQueue/
  IN include/QVRSysPCQueue.h COMPILED_IN QVRThreadsMD.m/src/QVRSysPCBuffer.cpp
  SCENARIOS QVRSysPCQueueScenarios.cpp
  LINE "      back.signal(itemsAvailable_);"
  BECOMES "")
qvr_planted_mistake(PlantedPutBesideTheMonitor FOUND_BY QVRSysPCQueue/
  IN include/QVRSysPCQueue.h COMPILED_IN QVRThreadsMD.m/src/QVRSysPCBuffer.cpp
  SCENARIOS QVRSysPCQueueScenarios.cpp
  LINE "      if (Hold::isHeldByAnother(mutex()) || isStopped() || isFull()) return false;"
  BECOMES "      if (isStopped() || isFull()) return false;")
qvr_planted_mistake(PlantedGetBesideTheMonitor FOUND_BY QVRSysPCQueue/
  IN include/QVRSysPCQueue.h COMPILED_IN QVRThreadsMD.m/src/QVRSysPCBuffer.cpp
  SCENARIOS QVRSysPCQueueScenarios.cpp
  LINE "    if (Hold::isHeldByAnother(mutex()) || isStopped() || !reachFirst()) return false;"
  BECOMES "    if (isStopped() || !reachFirst()) return false;")
qvr_planted_mistake(PlantedStopHoldsThePool FOUND_BY QVRSysThreadPool/
  IN QVRThreadsMD.m/src/QVRSysThreadPool.cpp
  LINE "  tasks_->stop();
  guard.release();"
  BECOMES "  tasks_->stop();")
qvr_planted_mistake(PlantedWorkerWaitsForItself FOUND_BY QVRSysThreadPool/
  IN QVRThreadsMD.m/src/QVRPoolTasks.cpp
  LINE "    if (caller != nullptr && caller->isAwaited_) return false;"
  BECOMES "")
qvr_planted_mistake(PlantedAwaitedUnheard FOUND_BY QVRSysThreadPool/
  IN QVRThreadsMD.m/src/QVRPoolTasks.cpp
  LINE "  worker.isAwaited_ = true;
  changeMoved_.signalAll();"
  BECOMES "  worker.isAwaited_ = true;")
qvr_planted_mistake(PlantedEndUnnoted FOUND_BY QVRSysThreadPool/runsTheRestAfterTheNextStart
  IN QVRThreadsMD.m/src/QVRPoolTasks.cpp
  LINE "  if (!std::exchange(worker.isLooping_, false)) return;"
  BECOMES "  if (!worker.isLooping_) return;")
qvr_planted_mistake(PlantedDismissedSleepsOn FOUND_BY QVRSysThreadPool/reducedWhileItIsFed
  IN QVRThreadsMD.m/src/QVRPoolTasks.cpp
  LINE "  itemsAvailable_.signalAll();"
  BECOMES "")
