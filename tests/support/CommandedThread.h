// A thread that does what it is told.
#pragma once

#include <pthread.h>
#include <sys/types.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

/// A thread that carries out one action after the other, as an owner of locks that
/// a test directs; and that tells whether it sleeps in the middle of one.
///
/// @code
/// CommandedThread writer;
/// writer.start([&] { lock.acquireWrite(); });
/// EXPECT_TRUE(writer.sleeps());
/// @endcode
///
/// Its operations are one thread's. No action throws.
class CommandedThread {
 public:
  CommandedThread();

  /// Waits for the action in hand.
  ~CommandedThread();

  CommandedThread(const CommandedThread&) = delete;
  CommandedThread& operator=(const CommandedThread&) = delete;

  /// Has the action carried out and returns at once, or as soon as the one before is
  /// over.
  void start(std::function<void()> action);

  /// Waits until the action is over.
  void finish();

  /// Has the action carried out.
  void run(std::function<void()> action);

  /// Whether an action is under way.
  bool isBusy() const { return stage_.load() != kIdle; }

  /// Waits until the action is over or the thread sleeps in it, where nothing but
  /// what the test does next can wake it. @return whether it sleeps.
  bool sleeps() const;

  /// Waits until each of the threads is idle or sleeps in its action, and none of
  /// them can be woken by another any more.
  static void awaitRest(const std::vector<std::unique_ptr<CommandedThread>>& threads);

  pthread_t nativeHandle() { return thread_.native_handle(); }

 private:
  enum Stage { kIdle, kTold, kActing };

  /// A busy thread's sleep, by its number; none where it runs.
  struct Rest {
    bool busy;
    std::optional<long> sleep;

    bool operator==(const Rest&) const = default;
  };

  void obey();
  Rest rest() const;

  std::atomic<Stage> stage_{kTold};  // until the thread runs
  std::function<void()> action_;     // empty: end
  std::atomic<pid_t> id_{0};
  std::thread thread_;
};
