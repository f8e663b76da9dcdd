#include "Crew.h"

#include <cstddef>
#include <utility>

#include "QVREResourceLimit.h"
#include "QVRFunctor0.h"
#include "QVRSysLockGuard.h"
#include "QVRSysRunnableFunctorBody.h"

namespace catalogue {
namespace {

// One that runs and one that waits, so that no worker has to.
constexpr int kStepsPerWorker = 2;

}  // namespace

Crew::Crew(int threads, Work work, const Interruption& interruption)
    : maxSteps_(kStepsPerWorker * threads),
      work_(std::move(work)),
      interruption_(interruption),
      step_(new QVRSysRunnableFunctorBody(QVRMakeFunctor0(this, &Crew::step))) {
  startWorkers(threads);
}

void Crew::startWorkers(int threads) {
  pool_.start();
  if (threads == 1) return;
  try {
    pool_.enlarge(static_cast<std::size_t>(threads));
  } catch (const QVREResourceLimit&) {
    // Those that there are do all the work.
  }
}

void Crew::add(QVRCountedPointer<Directory> directory) {
  const QVRSysLockGuard guard(monitor());
  if (failure_ || !directory->hasPortions()) return;
  open_.push_back(std::move(directory));
  _enqueueSteps();
}

void Crew::wait() {
  const QVRSysLockGuard guard(monitor());
  while (steps_ != 0) allDone_.wait();
  if (failure_) std::rethrow_exception(failure_);
}

// What a runnable throws is dropped, and this must reach whoever waits.
void Crew::step() {
  try {
    if (const std::optional<Portion> portion = takePortion()) work_(*portion);
  } catch (const std::exception&) {
    giveUp(std::current_exception());
  }
  endStep();
}

std::optional<Portion> Crew::takePortion() {
  const QVRSysLockGuard guard(monitor());
  if (interruption_.isRequested()) open_.clear();
  if (open_.empty()) return std::nullopt;
  Directory& directory = *open_.back();
  const Portion portion{&directory, directory.takePortion()};
  if (!directory.hasPortions()) open_.pop_back();
  return portion;
}

void Crew::endStep() {
  const QVRSysLockGuard guard(monitor());
  --steps_;
  _enqueueSteps();
  if (steps_ == 0) allDone_.signalAll();
}

void Crew::giveUp(std::exception_ptr failure) {
  const QVRSysLockGuard guard(monitor());
  _giveUp(std::move(failure));
}

void Crew::_giveUp(std::exception_ptr failure) {
  if (!failure_) failure_ = std::move(failure);
  open_.clear();
}

// The queue of the pool is kept short: what is in it comes before what lies deeper.
void Crew::_enqueueSteps() {
  try {
    while (!open_.empty() && steps_ < maxSteps_ && pool_.enqueue(step_)) ++steps_;
  } catch (const std::exception&) {
    _giveUp(std::current_exception());
  }
}

}  // namespace catalogue
