// The thread pool: what is taken on runs once, nothing before a start or after a stop, and
// nobody waits for himself.
#include "QVRSysThreadPool.h"

#include <functional>
#include <memory>
#include <utility>

#include "QVREResourceLimit.h"
#include "scheduler/Carriers.h"
#include "scheduler/QVRScheduler.h"
#include "scheduler/Scenarios.h"

namespace {

using namespace qvr::scheduler;

class Task : public QVRSysIRunnableBody {
 public:
  explicit Task(std::function<void()> action) : action_(std::move(action)) {}
  void initialize() override {}
  void* run() override {
    action_();
    return nullptr;
  }
  void finalize() override {}

 private:
  const std::function<void()> action_;
};

/// One that may be deleted, as none is derived from it.
class OwnedPool final : public QVRSysThreadPool {
 public:
  using QVRSysThreadPool::QVRSysThreadPool;
};

/// A pool and what became of its runnables.
struct Model {
  explicit Model(int size) : owned(std::make_unique<OwnedPool>(size)), pool(*owned) {}

  // After a failure its threads never end, and nobody can wait for them.
  ~Model() {
    if (!isOver) owned.release();
  }

  void enqueue(std::function<void()> action = [] {}) {
    const bool isTaken = pool.enqueue(new Task([this, action = std::move(action)] {
      action();
      ++ran;
    }));
    if (isTaken) ++taken;
  }

  std::unique_ptr<OwnedPool> owned;
  QVRSysThreadPool& pool;
  int taken = 0;
  int ran = 0;
  bool isOver = false;
};

/// @param carriers how many threads can be made.
Model& makeModel(Trial& trial, int size, int carriers) {
  auto& model = trial.make<Model>(size);
  trial.label(model.pool, "pool");
  addCarriers(trial, carriers);
  trial.atEnd([&model] {
    model.isOver = true;
    const auto pending = static_cast<int>(model.pool.numberTasksPending());
    require(model.ran + pending == model.taken, "a runnable is lost or ran twice");
  });
  return model;
}

const Scenario running("QVRSysThreadPool/runsWhatIsQueuedBeforeAStop",
                       [](Trial& trial) {
                         Model& model = makeModel(trial, 1, 1);
                         trial.thread("starts and stops", [&model] {
                           model.pool.start();
                           model.enqueue();
                           model.pool.stop();
                         });
                         trial.thread("enqueues", [&model] { model.enqueue(); });
                       },
                       {.preemptions = 1});

const Scenario restarting("QVRSysThreadPool/runsTheRestAfterTheNextStart",
                          [](Trial& trial) {
                            Model& model = makeModel(trial, 1, 2);
                            auto& ran = trial.make<Gate>();
                            trial.thread("controls", [&] {
                              model.enqueue();
                              model.enqueue([&] { ran.open(); });
                              model.pool.start();
                              model.pool.stop();
                              model.pool.start();
                              ran.pass();
                              model.pool.stop();
                            });
                            trial.thread("enqueues", [&model] { model.enqueue(); });
                          },
                          {.preemptions = 1});

const Scenario stopping("QVRSysThreadPool/aRunnableStopsItAsAnotherDoes", [](Trial& trial) {
  Model& model = makeModel(trial, 1, 1);
  trial.thread("starts and stops", [&model] {
    model.enqueue([&model] {
      model.pool.stop();
      require(!model.pool.enqueue(new Task([] {})), "goes on");
    });
    model.pool.start();
    model.pool.stop();
  });
});

const Scenario bothStopping("QVRSysThreadPool/twoRunnablesStopIt",
                            [](Trial& trial) {
                              Model& model = makeModel(trial, 2, 2);
                              trial.thread("starts", [&model] {
                                for (int i = 0; i < 2; ++i) {
                                  model.enqueue([&model] { model.pool.stop(); });
                                }
                                model.pool.start();
                              });
                            },
                            {.preemptions = 1});

const Scenario enlarging("QVRSysThreadPool/enlargedWhileItIsFed",
                         [](Trial& trial) {
                           Model& model = makeModel(trial, 0, 1);
                           trial.thread("enlarges", [&model] {
                             model.pool.enlarge(1);
                             require(model.pool.size() == 1, "wrong size");
                             model.pool.stop();
                           });
                           trial.thread("enqueues", [&model] {
                             model.enqueue();
                             model.enqueue();
                           });
                         },
                         {.preemptions = 1});

const Scenario reducing("QVRSysThreadPool/reducedWhileItIsFed",
                        [](Trial& trial) {
                          Model& model = makeModel(trial, 2, 2);
                          trial.onAssertion([](const Assertion&) {});
                          auto& ran = trial.make<Gate>();
                          trial.thread("reduces", [&] {
                            model.pool.start();
                            model.pool.enlarge(1);
                            ran.pass();  // the one that is left runs it
                            model.pool.stop();
                          });
                          trial.thread("enqueues", [&] { model.enqueue([&] { ran.open(); }); });
                        },
                        {.preemptions = 1});

const Scenario failing("QVRSysThreadPool/enlargedBeyondWhatCanBeMade",
                       [](Trial& trial) {
                         Model& model = makeModel(trial, 0, 1);
                         auto& failed = trial.make<bool>(false);
                         trial.thread("enlarges", [&] {
                           try {
                             model.pool.enlarge(2);
                           } catch (const QVREResourceLimit&) {
                             failed = true;
                           }
                           model.pool.stop();
                         });
                         trial.thread("enqueues", [&model] { model.enqueue(); });
                         trial.atEnd(
                             [&] { require(failed && model.pool.size() == 2, "no failure"); });
                       },
                       {.preemptions = 1});

}  // namespace
