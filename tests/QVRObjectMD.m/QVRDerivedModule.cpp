// A module whose class derives from that of another module.
#include "QVRObjectModule.h"

namespace derived {

class Manometer : public module::Gauge {
  QVR_DECLARE_DYNAMIC_CLASS(Manometer);

 public:
  Manometer() = default;
  Manometer(const Manometer& other, CopyMode mode) : Gauge(other, mode) {}

 private:
  [[maybe_unused]] char content_[20] = {};
};
QVR_DEFINE_DYNAMIC_CLASS(Manometer, module::Gauge);

}  // namespace derived

MODULE_EXPORT const QVRClassInfo* manometerRecord() { return &derived::Manometer::ClassInfo(); }
