// The class that one loaded module offers to another.
#pragma once

#include "QVRCountedObject.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

namespace module {

class __attribute__((visibility("default"))) Gauge : public QVRCountedObject {
  QVR_DECLARE_DYNAMIC_CLASS(Gauge);

 public:
  Gauge() = default;
  Gauge(const Gauge& other, CopyMode mode) : QVRCountedObject(other, mode) {}

 private:
  [[maybe_unused]] char content_[100] = {};
};
}  // namespace module
