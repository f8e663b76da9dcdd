#include "QVRPoolCrew.h"

#include <new>

namespace qvr::internal {

PoolCrew::PoolCrew(const QVRCountedPointer<PoolTasks>& tasks, std::size_t size) : tasks_(tasks) {
  resize(size);
  for (Body& body : workers_) body = make();
}

void PoolCrew::start(std::size_t size) {
  if (size > workers_.size()) resize(size);
  for (Body& body : workers_) {
    if (!body) body = make();
    run(body);
  }
}

void PoolCrew::grow(std::size_t from, std::size_t to) {
  resize(to);
  for (std::size_t place = from; place < to; ++place) {
    workers_[place] = make();
    run(workers_[place]);
  }
}

void PoolCrew::shrink(std::size_t size) {
  if (size >= workers_.size()) return;
  await(size, true);
  resize(size);
}

void PoolCrew::join() { await(0, false); }

void PoolCrew::await(std::size_t from, bool dismissed) {
  for (std::size_t place = from; place < workers_.size(); ++place) {
    if (workers_[place]) tasks_->await(workerOf(workers_[place]), dismissed);
  }
  for (std::size_t place = from; place < workers_.size(); ++place) {
    if (workers_[place]) workers_[place]->join();
  }
}

PoolWorker& PoolCrew::workerOf(const Body& body) {
  return static_cast<PoolWorker&>(*body->getRunnable());
}

PoolCrew::Body PoolCrew::make() const { return new QVRSysThreadBody(new PoolWorker(tasks_)); }

void PoolCrew::run(const Body& body) {
  PoolWorker& worker = workerOf(body);
  if (!tasks_->beginLoop(worker)) return;
  try {
    body->start();
  } catch (...) {
    tasks_->endLoop(worker);
    throw;
  }
}

void PoolCrew::resize(std::size_t size) {
  if (size > workers_.max_size()) throw std::bad_alloc();
  workers_.resize(size);
}

}  // namespace qvr::internal
