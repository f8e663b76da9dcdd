// Threads: made, started and joined; suspended and resumed.
#include <pthread.h>

#include <thread>

#include "QVRSysThreadBody.h"
#include "ThreadBenchmark.h"

namespace {

void ours() {
  const QVRCountedPointer<QVRSysThreadBody> thread = QVRMakeThread(QVRMakeFunctor0(&doNothing));
  thread->start();
  thread->join();
}

void standard() { std::thread(&doNothing).join(); }

void cLibrarys() {
  pthread_t thread;
  const auto body = [](void*) -> void* {
    doNothing();
    return nullptr;
  };
  if (pthread_create(&thread, nullptr, body, nullptr) == 0) pthread_join(thread, nullptr);
}

void suspendAndResume(benchmark::State& state) {
  const QVRCountedPointer<QVRSysThreadBody> thread = QVRMakeThread(QVRMakeFunctor0(+[] {
    for (;;) benchmark::ClobberMemory();
  }));
  thread->start();
  for (auto _ : state) {
    thread->suspend();
    thread->resume();
  }
  thread->cancel();
}
BENCHMARK(suspendAndResume)->Name("QVRSysThread/suspendAndResume")->UseRealTime();

[[maybe_unused]] const bool isRegistered = timeThread("QVRSysThread", &ours) &&
                                           timeThread("std::thread", &standard) &&
                                           timeThread("pthread_create", &cLibrarys);

}  // namespace
