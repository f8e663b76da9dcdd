#include "QVRDynamicLibrary.h"

#include "QVRDynamicSymbol.h"

QVRDynamicLibrary::QVRDynamicLibrary(const std::string& path)
    : QVRDynamicLibraryHandle(new QVRDynamicLibraryImpl(path)) {}

QVRDynamicLibrary::QVRDynamicLibrary(const std::string& path, const std::string& symbolName)
    : QVRDynamicLibrary(path) {
  QVRDynamicSymbol(path, symbolName);
}

QVRDynamicLibrary QVRDynamicLibrary::getLibrary(const std::string& path) {
  return QVRDynamicLibraryImpl::getLibrary(path);
}

bool QVRDynamicLibrary::isOpen() const { return body()->isOpen(); }

std::string QVRDynamicLibrary::getPath() const { return body()->getPath(); }

void QVRDynamicLibrary::open() { body()->open(); }

void QVRDynamicLibrary::close() { body()->close(); }

QVRDynamicSymbol QVRDynamicLibrary::getSymbol(const std::string& name) const {
  return body()->getSymbol(name);
}
