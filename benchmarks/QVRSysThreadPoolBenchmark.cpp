// Thread pools: a million empty tasks, and how soon one begins.
#include "QVRSysThreadPool.h"

#include <functional>
#include <utility>

#include "QVRFunctor0.h"
#include "QVRSysIRunnableBody.h"
#include "QVRSysRunnableFunctorBody.h"
#include "ThreadPoolBenchmark.h"

namespace {

struct Idle : QVRSysIRunnableBody {
  void initialize() override {}
  void* run() override { return nullptr; }
  void finalize() override {}
};

struct Noting : Idle {
  explicit Noting(Began& noted) : began(noted) {}
  void* run() override {
    began.note();
    return nullptr;
  }
  Began& began;
};

struct Calling : Idle {
  explicit Calling(std::function<void()> called) : call(std::move(called)) {}
  void* run() override {
    call();
    return nullptr;
  }
  const std::function<void()> call;
};

class OurPool {
 public:
  OurPool() { pool_.start(); }
  void run(std::function<void()> task) { pool_.enqueue(new Calling(std::move(task))); }
  void runEmpty() { pool_.enqueue(new Idle); }
  void runNoting(Began& began) { pool_.enqueue(new Noting(began)); }
  void awaitAll() { awaitAllWorkers(*this); }

 protected:
  QVRSysThreadPool pool_{kPoolWorkers};
};

void doNothing() {}

/// Runnables made of functors.
struct FunctorPool : OurPool {
  void runEmpty() { pool_.enqueue(new QVRSysRunnableFunctorBody(QVRMakeFunctor0(&doNothing))); }
};

[[maybe_unused]] const bool isRegistered = timePool<OurPool>("QVRSysThreadPool") &&
                                           timeEmpty<FunctorPool>("QVRSysThreadPool", "functor") &&
                                           timePool<PlainPool>("mutex and condition");

}  // namespace
