#include "QVRDynamicSymbol.h"

QVRDynamicLibraryHandle QVRDynamicSymbol::getLibrary() const { return body()->getLibrary(); }
