// Who goes next.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qvr::scheduler {

/// One bit per thread.
using ThreadSet = std::uint32_t;

inline constexpr unsigned kMaxThreads = 8;

/// In place of a thread where none runs or none would go on.
inline constexpr unsigned kNobody = kMaxThreads;

/// Decides what the schedule leaves open.
class Strategy {
 public:
  virtual ~Strategy() = default;

  /// @param ready those that can run, at least one.
  /// @param current who runs; where it is not ready, the change costs nothing.
  virtual unsigned nextThread(ThreadSet ready, unsigned current) = 0;

  /// One of so many that are equally right.
  virtual unsigned pick(unsigned count) = 0;

  /// Whether an operation that may fail for no reason does so now.
  virtual bool happensForNoReason() = 0;
};

/// All schedules in which threads that could go on lose their turn at most so
/// often, one after the other.
class ExhaustiveStrategy final : public Strategy {
 public:
  /// @param choices those to begin with, as choices() gave them; the first
  ///   schedule of all where it is empty.
  explicit ExhaustiveStrategy(unsigned preemptions, const std::string& choices = {});

  /// To be called before each schedule.
  void begin() noexcept;

  /// Turns to the next schedule. @return whether there is one.
  bool advance();

  unsigned preemptions() const noexcept { return preemptions_; }

  /// What the schedule chose where it did not take what comes first.
  std::string choices() const;

  unsigned nextThread(ThreadSet ready, unsigned current) override;
  unsigned pick(unsigned count) override;
  bool happensForNoReason() override { return false; }

 private:
  struct Choice {
    unsigned taken;
    unsigned count;  // 0 where it is not known yet
  };

  const unsigned preemptions_;
  std::vector<Choice> path_;
  std::size_t depth_ = 0;
  unsigned preemptionsLeft_ = 0;
};

/// One schedule at random. The seed decides in which manner, too: any thread at
/// each point, mostly the current one, or by priorities that change a few times.
class RandomStrategy final : public Strategy {
 public:
  /// @param noise whether things happen for no reason.
  RandomStrategy(std::uint64_t seed, bool noise);

  unsigned nextThread(ThreadSet ready, unsigned current) override;
  unsigned pick(unsigned count) override;
  bool happensForNoReason() override;

 private:
  enum class Manner { Uniform, Sticky, Priorities };

  static constexpr unsigned kMaxChanges = 4;

  std::uint32_t draw() noexcept;
  unsigned drawBelow(unsigned limit) noexcept;
  void shufflePriorities();
  void drawChanges();
  unsigned anyOf(ThreadSet ready);
  unsigned highestOf(ThreadSet ready) const;

  std::uint64_t state_;
  Manner manner_;
  unsigned stickiness_;  // the current thread loses its turn once in 2^stickiness points
  bool noise_;
  unsigned points_ = 0;
  unsigned changes_[kMaxChanges] = {};     // points at which who runs becomes the last of all
  unsigned priorities_[kMaxThreads] = {};  // the higher, the sooner
  unsigned lowest_;
};

}  // namespace qvr::scheduler
