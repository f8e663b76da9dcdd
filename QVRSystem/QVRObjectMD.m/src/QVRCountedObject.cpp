#include "QVRCountedObject.h"

QVR_DEFINE_DYNAMIC_CLASS(QVRCountedObject, QVRDynamicObject);

QVRCountedObject& QVRCountedObject::operator=(const QVRCountedObject& other) noexcept {
  QVRDynamicObject::operator=(other);
  return *this;
}

// The root looks whether that was done before.
void QVRCountedObject::orphanObject() { QVRDynamicObject::orphanObject(); }

QVRCountedObject::~QVRCountedObject() noexcept(false) { QVRCountedObject::orphanObject(); }
