// A module with dynamic classes of its own: hidden symbols but one class, loaded locally.
#include "QVRObjectModule.h"

namespace module {

QVR_DEFINE_DYNAMIC_CLASS(Gauge, QVRCountedObject);

class Instrument : public Gauge {
  QVR_DECLARE_DYNAMIC_CLASS(Instrument);

 protected:
  virtual int read() const = 0;
};
QVR_DEFINE_ABSTRACT_DYNAMIC_CLASS(Instrument, Gauge);

}  // namespace module

// The test has a class of this name too.
namespace shared {

class Namesake : public QVRDynamicObject {
  QVR_DECLARE_DYNAMIC_CLASS(Namesake);

 public:
  Namesake() = default;
  Namesake(const Namesake& other, CopyMode mode) : QVRDynamicObject(other, mode) {}
};
QVR_DEFINE_DYNAMIC_CLASS(Namesake, QVRDynamicObject);

}  // namespace shared

MODULE_EXPORT const QVRClassInfo* gaugeRecord() { return &module::Gauge::ClassInfo(); }
MODULE_EXPORT const QVRClassInfo* instrumentRecord() { return &module::Instrument::ClassInfo(); }
MODULE_EXPORT const QVRClassInfo* namesakeRecord() { return &shared::Namesake::ClassInfo(); }

/// As the module's own code sees the object.
MODULE_EXPORT bool isCounted(const QVRDynamicObject* object) {
  return object->isDerivedFrom(QVRCountedObject::ClassInfo()) &&
         dynamic_cast<const QVRCountedObject*>(object) != nullptr;
}
MODULE_EXPORT bool isGauge(const QVRDynamicObject* object) {
  return object->isInstanceOf(module::Gauge::ClassInfo());
}
MODULE_EXPORT bool isKindOfGauge(const QVRDynamicObject* object) {
  return object->isDerivedFrom(module::Gauge::ClassInfo()) &&
         dynamic_cast<const module::Gauge*>(object) != nullptr;
}
