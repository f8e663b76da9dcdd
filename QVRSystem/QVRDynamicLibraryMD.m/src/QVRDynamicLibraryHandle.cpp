#include "QVRDynamicLibraryHandle.h"

QVROSLibraryHandle QVRDynamicLibraryHandle::getOSLibraryHandle() const {
  return body()->getHandle();
}
