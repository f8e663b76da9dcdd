// What tests look at inside a readers-writer lock.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "QVRReadersWriterLock.h"

struct QVRReadersWriterLockTestAccess {
  using Lock = QVRReadersWriterLock;

  /// Whether the holds in the table are as many as the lock counts.
  static bool isValid(const Lock& lock) {
    const Monitor monitor(lock);
    return lock.isValid();
  }

  /// Has the table say who holds the lock, as others that come have it.
  static void enterTable(Lock& lock) {
    const Monitor monitor(lock);
    lock.enterTable();
  }

  /// Has the lock say that its only holder took it so often: counting it out takes
  /// minutes.
  static void setLevel(Lock& lock, std::int32_t level) {
    constexpr std::uint64_t kInTable = ~std::uint64_t{0};
    const Monitor monitor(lock);
    const std::uint64_t word = lock.word_.load();
    if (word != kInTable) {
      lock.word_.store(word >> 32 << 32 | static_cast<std::uint32_t>(level));
      return;
    }
    lock.lockCount_ = level;
    lock.holders_.front().holds = static_cast<std::int32_t>(std::abs(std::int64_t{level}));
  }

  /// The place of the thread in the table, which says who holds the lock from then
  /// on; or -1.
  static int findThread(Lock& lock, const QVRSysThreadId& thread) {
    const Monitor monitor(lock);
    lock.enterTable();
    return lock.findThread(thread);
  }

 private:
  class Monitor {
   public:
    explicit Monitor(const Lock& lock) : lock_(lock.getMonitor()) { lock_.acquire(); }
    ~Monitor() { lock_.release(); }

    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

   private:
    QVRSysCriticalSection& lock_;
  };
};
