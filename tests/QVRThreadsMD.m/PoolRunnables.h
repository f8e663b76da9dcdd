// What the tests of the thread pool have it run.
#pragma once

#include <functional>
#include <latch>
#include <memory>
#include <utility>

#include "QVRCountedPointer.h"
#include "QVRSysIRunnableBody.h"

using Runnable = QVRCountedPointer<QVRSysIRunnableBody>;

/// Runs an action; exceptions come through.
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

inline Runnable task(std::function<void()> action) { return new Task(std::move(action)); }

/// A runnable that tells when it runs and goes on when it is let; it may outlive this.
class HeldTask {
 public:
  Runnable runnable() {
    return task([stages = stages_] {
      stages->started.count_down();
      stages->mayEnd.wait();
    });
  }
  void awaitStart() { stages_->started.wait(); }
  void letEnd() { stages_->mayEnd.count_down(); }

 private:
  struct Stages {
    std::latch started{1};
    std::latch mayEnd{1};
  };

  const std::shared_ptr<Stages> stages_ = std::make_shared<Stages>();
};
