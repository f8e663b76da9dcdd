// What the root keeps to itself and its derived classes.
#pragma once

#include "QVRDynamicObject.h"

struct QVRDynamicObjectTestAccess {
  static bool isOrphaned(const QVRDynamicObject& object) { return object.orphaned_; }
  static void orphanMembers(QVRDynamicObject& object) { object.orphanMembers(); }
  static QVRDynamicObject* create() { return QVRDynamicObject::_CreateObject(); }
  static QVRDynamicObject* replicate(const QVRDynamicObject& object) {
    return object.replicateObject();
  }
  static QVRDynamicObject* duplicate(const QVRDynamicObject& object) {
    return object.duplicateObject(QVRDynamicObject::DeepCopy);
  }
  static void destroy(QVRDynamicObject* object) { delete object; }

  static constexpr auto kGetClassName = &QVRDynamicObject::getClassName;
  static constexpr auto kGetClassInfo = &QVRDynamicObject::getClassInfo;
  static constexpr auto kIsInstanceOf = &QVRDynamicObject::isInstanceOf;
  static constexpr auto kIsDerivedFrom = &QVRDynamicObject::isDerivedFrom;
  static constexpr auto kOrphanObject = &QVRDynamicObject::orphanObject;
  static constexpr auto kReplicateHere = &QVRDynamicObject::_replicateObject;
  static constexpr auto kDuplicateHere = &QVRDynamicObject::_duplicateObject;
  static constexpr auto kReplicateObject = &QVRDynamicObject::replicateObject;
  static constexpr auto kDuplicateObject = &QVRDynamicObject::duplicateObject;
};
