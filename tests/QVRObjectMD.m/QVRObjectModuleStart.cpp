// Static objects of the module that are made before those of the sources behind this one.
#include <string>

#include "QVRCountedPointer.h"
#include "QVRObjectModule.h"

namespace {

const std::string nameAtStart = module::Gauge::ClassName();
const QVRCountedPointer<QVRCountedObject> madeAtStart =
    dynamic_cast<QVRCountedObject*>(module::Gauge::ClassInfo().createObject());

}  // namespace

MODULE_EXPORT const char* gaugeNameAtStart() { return nameAtStart.c_str(); }
MODULE_EXPORT const QVRDynamicObject* gaugeMadeAtStart() { return madeAtStart.get(); }
