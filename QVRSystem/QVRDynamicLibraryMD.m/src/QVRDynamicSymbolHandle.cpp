#include "QVRDynamicSymbolHandle.h"

#include "QVRDynamicSymbol.h"

QVRDynamicSymbolHandle::QVRDynamicSymbolHandle(const QVRDynamicLibrary& library,
                                               const std::string& name)
    : QVRDynamicSymbolHandle(library.getSymbol(name)) {}

QVRDynamicSymbolHandle::QVRDynamicSymbolHandle(const std::string& path, const std::string& name)
    : QVRDynamicSymbolHandle(QVRDynamicLibrary::getLibrary(path), name) {}
