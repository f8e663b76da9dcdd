// Pointers that share an object: copied and dropped, alone and with another thread.
#include "QVRCountedPointer.h"

#include <memory>

#include "CountedPointerBenchmark.h"

namespace {

class Body : public QVRCountedObject {};

[[maybe_unused]] const bool isRegistered =
    timePointer(
        "QVRCountedPointer", +[] { return QVRCountedPointer<Body>(new Body); }) &&
    timePointer(
        "std::shared_ptr", +[] { return std::make_shared<int>(); });

}  // namespace
