// Asking an object for its class, and making one by its record.
#include "QVRDynamicObject.h"

#include <benchmark/benchmark.h>

#include <memory>

// Five classes below the root, one under the other, and one beside them.
namespace plant {

#define PLANT_CLASS(Class, Base)                                    \
  class Class : public Base {                                       \
    QVR_DECLARE_DYNAMIC_CLASS(Class);                               \
                                                                    \
   public:                                                          \
    Class() = default;                                              \
    Class(const Class& other, CopyMode mode) : Base(other, mode) {} \
  };                                                                \
  QVR_DEFINE_DYNAMIC_CLASS(Class, Base)

PLANT_CLASS(Part, QVRDynamicObject);
PLANT_CLASS(Fitting, Part);
PLANT_CLASS(Valve, Fitting);
PLANT_CLASS(BallValve, Valve);
PLANT_CLASS(ThreeWayBallValve, BallValve);
PLANT_CLASS(Pipe, Part);

}  // namespace plant

namespace {

using plant::Part;
using plant::Pipe;
using plant::ThreeWayBallValve;

/// An object of the lowest class, of which the compiler knows the root alone.
const QVRDynamicObject* lowest() {
  static const ThreeWayBallValve valve;
  const QVRDynamicObject* object = &valve;
  benchmark::DoNotOptimize(object);
  return object;
}

template <class Class>
void isDerivedFrom(benchmark::State& state) {
  const QVRDynamicObject* const object = lowest();
  for (auto _ : state) benchmark::DoNotOptimize(object->isDerivedFrom(Class::ClassInfo()));
}
BENCHMARK(isDerivedFrom<ThreeWayBallValve>)->Name("QVRDynamicObject/isDerivedFrom/own");
BENCHMARK(isDerivedFrom<Part>)->Name("QVRDynamicObject/isDerivedFrom/fifth");
BENCHMARK(isDerivedFrom<Pipe>)->Name("QVRDynamicObject/isDerivedFrom/other");

template <class Class>
void castDynamically(benchmark::State& state) {
  const QVRDynamicObject* const object = lowest();
  for (auto _ : state) {
    benchmark::DoNotOptimize(dynamic_cast<const Class*>(object) != nullptr);
  }
}
BENCHMARK(castDynamically<ThreeWayBallValve>)->Name("dynamic_cast/isDerivedFrom/own");
BENCHMARK(castDynamically<Part>)->Name("dynamic_cast/isDerivedFrom/fifth");
BENCHMARK(castDynamically<Pipe>)->Name("dynamic_cast/isDerivedFrom/other");

void createObject(benchmark::State& state) {
  const QVRClassInfo& info = ThreeWayBallValve::ClassInfo();
  for (auto _ : state) {
    const std::unique_ptr<Part> made(static_cast<Part*>(info.createObject()));
    benchmark::DoNotOptimize(made.get());
  }
}
BENCHMARK(createObject)->Name("QVRDynamicObject/createObject");

/// As large, with a virtual destructor, in the general heap.
struct Plain {
  virtual ~Plain() = default;
  char content[sizeof(ThreeWayBallValve) - sizeof(void*)] = {};
};

void makeNew(benchmark::State& state) {
  for (auto _ : state) {
    const std::unique_ptr<Plain> made(new Plain);
    benchmark::DoNotOptimize(made.get());
  }
}
BENCHMARK(makeNew)->Name("new/createObject");

}  // namespace
