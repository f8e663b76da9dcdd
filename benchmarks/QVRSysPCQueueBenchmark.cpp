// Queues between threads: a million items from producers to consumers.
#include "QVRSysPCQueue.h"

#include <cstdint>

#include "PCQueueBenchmark.h"

namespace {

[[maybe_unused]] const bool isRegistered =
    timeTransfer<QVRSysPCQueue<std::uint64_t>>("QVRSysPCQueue") &&
    timeTransfer<PlainQueue<std::uint64_t>>("mutex and condition");

}  // namespace
