#include "QVRDynamicObject.h"

#include "QVRPoolAllocator.h"

QVR_BEFORE_OTHER_OBJECTS_ const QVRClassInfo QVRDynamicObject::ClassInfo_ =
    qvr::internal::makeClassInfo<QVRDynamicObject>(&QVRDynamicObject::_CreateObject);

const QVRClassInfo& QVRDynamicObject::ClassInfo() noexcept { return ClassInfo_; }

std::string QVRDynamicObject::ClassName() { return ClassInfo_.getClassName(); }

std::string QVRDynamicObject::getClassName() const { return ClassInfo_.getClassName(); }

const QVRClassInfo& QVRDynamicObject::getClassInfo() const { return ClassInfo_; }

bool QVRDynamicObject::isInstanceOf(const QVRClassInfo& info) const {
  return ClassInfo_.isInstanceOf(info);
}

bool QVRDynamicObject::isDerivedFrom(const QVRClassInfo& info) const {
  return ClassInfo_.isDerivedFrom(info);
}

void* QVRDynamicObject::operator new(std::size_t size) {
  return QVRPoolAllocator::Global().allocate(size);
}

void QVRDynamicObject::operator delete(void* object, std::size_t size) noexcept {
  QVRPoolAllocator::Global().deallocate(object, size);
}

QVRDynamicObject& QVRDynamicObject::operator=(const QVRDynamicObject& other) noexcept {
  if (this != &other) orphaned_ = false;
  return *this;
}

void QVRDynamicObject::orphanObject() {
  if (!orphaned_) orphanMembers();
}

QVRDynamicObject::~QVRDynamicObject() noexcept(false) {
  if (!orphaned_) QVRDynamicObject::orphanObject();
}

QVRDynamicObject* QVRDynamicObject::replicateObject() const { return _replicateObject(); }

QVRDynamicObject* QVRDynamicObject::duplicateObject(CopyMode mode) const {
  return _duplicateObject(mode);
}

QVRDynamicObject* QVRDynamicObject::_CreateObject() { return new QVRDynamicObject(); }

QVRDynamicObject* QVRDynamicObject::_replicateObject() const { return _CreateObject(); }

QVRDynamicObject* QVRDynamicObject::_duplicateObject(CopyMode /*mode*/) const {
  return _CreateObject();
}
