#include "QVRSysBodyBase.h"

QVRSysBodyBase::QVRSysBodyBase(const QVRSysBodyBase& other) : QVRCountedObject(other) {}

QVRSysBodyBase& QVRSysBodyBase::operator=(const QVRSysBodyBase& other) noexcept {
  QVRCountedObject::operator=(other);
  return *this;
}

QVRSysBodyBase::~QVRSysBodyBase() noexcept(false) = default;
