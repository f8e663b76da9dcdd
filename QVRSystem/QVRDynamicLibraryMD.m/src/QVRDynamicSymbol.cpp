#include "QVRDynamicSymbol.h"

QVRDynamicSymbol::~QVRDynamicSymbol() = default;

QVRDynamicLibraryHandle QVRDynamicSymbol::getLibrary() const { return body()->getLibrary(); }
