// Objects that threads share and drop.
#include "QVRCountedPointer.h"

#include <array>
#include <cstddef>
#include <utility>

#include "scheduler/Scenarios.h"

namespace {

using namespace qvr::scheduler;

/// Counts how often it ends.
class Body : public QVRCountedObject {
 public:
  explicit Body(int& ends) : ends_(ends) {}
  ~Body() noexcept override { ++ends_; }

 private:
  int& ends_;
};
using Pointer = QVRCountedPointer<Body>;

/// Each thread has a pointer to the one object and does something with it that leaves
/// nothing held.
void shareAndDrop(Trial& trial, void (*use)(Pointer& own)) {
  auto& ends = trial.make<int>(0);
  auto& held = trial.make<std::array<Pointer, 3>>();
  held.fill(new Body(ends));
  const char* const names[] = {"A", "B", "C"};
  for (std::size_t i = 0; i < held.size(); ++i) {
    trial.thread(names[i], [&own = held[i], use] { use(own); });
  }
  trial.invariant("goes once", [&ends] { return ends <= 1; });
  trial.atEnd([&ends] { require(ends == 1, "not gone"); });
}

const Scenario dropping("QVRCountedPointer/lastToDropDeletes", [](Trial& trial) {
  shareAndDrop(trial, [](Pointer& own) { own.detach(); });
});

const Scenario copying("QVRCountedPointer/copiesKeepTheObject", [](Trial& trial) {
  shareAndDrop(trial, [](Pointer& own) {
    const Pointer copy(own);
    own = nullptr;
    require(copy->isReferenced(), "gone too early");
  });
});

const Scenario moving("QVRCountedPointer/movesKeepTheObject", [](Trial& trial) {
  shareAndDrop(trial, [](Pointer& own) {
    Pointer taken(std::move(own));
    own = std::move(taken);
    require(own->isReferenced(), "gone too early");
    own = nullptr;
  });
});

}  // namespace
