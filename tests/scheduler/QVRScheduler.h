// Explores the interleavings of a few threads that run the library's own sources.
//
// docs/scheduler.md shows how to write a scenario and how to replay a failure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qvr::scheduler {

/// An assertion that was reported; the texts live as long as the call.
struct Assertion {
  const char* category;
  const char* text;
  const char* file;
  int line;
};

/// One run of a scenario: its threads, what they share, and what must hold.
///
/// The scenario sets it up afresh for each schedule. Texts are kept as pointers
/// and must be literals.
class Trial {
 public:
  Trial() = default;
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;
  ~Trial() { clear(); }

  /// Makes something that the threads share. It lives until the schedule is over
  /// and goes before what was made earlier.
  template <class T, class... Arguments>
  T& make(Arguments&&... arguments) {
    auto owned = std::make_unique<OwnedObject<T>>(std::forward<Arguments>(arguments)...);
    T& object = owned->object;
    owned_.push_back(std::move(owned));
    return object;
  }

  /// Adds a thread, up to 8. They are numbered from 1, which is also the thread
  /// identifier that the library sees. A thread that ends in an exception fails.
  void thread(const char* name, std::function<void()> body);

  /// Adds a thread that runs only while no other can: when all the others have
  /// ended or sleep. It sees what came of them, and may wake them.
  void idleThread(const char* name, std::function<void()> body);

  /// Has a condition looked at after every step; it must not change anything.
  void invariant(const char* text, std::function<bool()> holds);

  /// Has a check made when all threads have ended.
  void atEnd(std::function<void()> check);

  /// Receives the assertions, which are failures otherwise.
  void onAssertion(std::function<void(const Assertion&)> handler);

  /// Names an object in traces; words inside it show with their offset.
  template <class T>
  void label(const T& object, const char* name) {
    labels_.push_back({&object, sizeof(T), name});
  }

 private:
  friend class Execution;
  friend class Exploration;

  struct Owned {
    virtual ~Owned() = default;
  };
  template <class T>
  struct OwnedObject final : Owned {
    template <class... Arguments>
    explicit OwnedObject(Arguments&&... arguments)
        : object(std::forward<Arguments>(arguments)...) {}
    T object;
  };
  struct Thread {
    const char* name;
    std::function<void()> body;
    bool idle;
  };
  struct Invariant {
    const char* text;
    std::function<bool()> holds;
  };
  struct Label {
    const void* object;
    std::size_t size;
    const char* name;
  };

  void clear();
  void destroyOwned();

  std::vector<Thread> threads_;
  std::vector<Invariant> invariants_;
  std::vector<std::function<void()>> checks_;
  std::function<void(const Assertion&)> assertionHandler_;
  std::vector<Label> labels_;
  std::vector<std::unique_ptr<Owned>> owned_;
};

/// Fails the schedule with the text unless the condition holds. In set-up,
/// threads, invariants and checks; in a thread that fails it does not return.
void require(bool condition, const char* text);

/// A point of its own at which other threads may run: for what happens between
/// two operations of a scenario.
void step();

/// Counts who is inside a stretch of code; fails where more are than may be.
class Region {
 public:
  explicit Region(int limit = 1) : limit_(limit) {}

  void enter();
  void leave();
  int inside() const { return inside_; }

  /// Goes in, lets others run, and comes out.
  void pass();

 private:
  const int limit_;
  int inside_ = 0;
};

/// A gate that is closed at first; threads sleep before it.
class Gate {
 public:
  /// Returns when the gate is open.
  void pass();
  /// Lets all of them through, and everybody from then on.
  void open();
  bool isOpen() const { return open_; }

 private:
  bool open_ = false;
};

/// How much is explored, and how.
struct Options {
  /// How often a thread that could go on loses its turn, in the exhaustive part:
  /// all schedules with at most so many of these changes are run. Changes at
  /// threads that sleep, end or yield are free. -1 leaves this part out.
  int preemptions = 2;

  /// Ends the exhaustive part after so many schedules even so.
  std::uint64_t exhaustiveLimit = UINT64_MAX;

  /// Schedules at random, behind the exhaustive part. Their seeds follow each
  /// other from `seed` on.
  std::uint64_t random = 2000;
  std::uint64_t seed = 1;

  /// Whether random schedules have waits that return, and weak exchanges that
  /// fail, for no reason.
  bool noise = true;

  /// The steps after which a schedule counts as one that never ends.
  std::uint32_t stepLimit = 5000;

  /// The one schedule to run, as a Report gave it, after the scenario's name:
  /// "seed=17" or "preemptions=2 choices=4:1,9:2". Where it is empty, the
  /// environment's QVR_REPLAY decides, if it names the scenario.
  std::string replay{};
};

/// What came of it.
struct Report {
  std::uint64_t exhaustive = 0;  // schedules of this part, all different
  std::uint64_t random = 0;      // schedules of this part
  std::uint64_t steps = 0;       // of all schedules
  bool complete = false;         // whether the exhaustive part went to its end

  /// Empty, or the first failure: what failed, the trace, how to replay it.
  std::string failure;
  /// The value of Options::replay that repeats the failure.
  std::string replay;
  /// The steps of the schedule that failed or was replayed.
  std::string trace;

  std::uint64_t schedules() const { return exhaustive + random; }
};

/// Runs the scenario under one schedule after the other until one fails.
///
/// `scenario` sets a fresh Trial up for each, and must do so in the same way each
/// time. A schedule that fails leaves its threads where they are: what they own
/// on their stacks is not destroyed; what the Trial owns is.
///
/// @param name of the scenario, without blanks.
/// @throws std::invalid_argument if Options::replay cannot be read.
/// @par Thread safety
/// One exploration at a time in a process.
Report explore(const char* name, const std::function<void(Trial&)>& scenario,
               const Options& options = {});

}  // namespace qvr::scheduler
