#include "QVRDynamicSymbolImpl.h"

#include "QVRDynamicLibrary.h"
#include "QVRSysLockGuard.h"

QVRDynamicSymbolImpl::QVRDynamicSymbolImpl(QVRDynamicLibraryImpl& library, const std::string& name,
                                           void* address)
    : entry_(name, *this),
      address_(address),
      library_(&library),
      forked_(mutex().getNativeLock()) {}

QVRDynamicSymbolImpl::QVRDynamicSymbolImpl(const QVRDynamicLibrary& library,
                                           const std::string& name)
    : QVRDynamicSymbolImpl(*library.body(), name, library.getOSLibraryHandle().getOSSymbol(name)) {}

QVRDynamicSymbolImpl::QVRDynamicSymbolImpl(const std::string& path, const std::string& name)
    : QVRDynamicSymbolImpl(QVRDynamicLibrary(path), name) {}

// Before the library can go: the table is in it.
QVRDynamicSymbolImpl::~QVRDynamicSymbolImpl() noexcept {
  library_.body()->unregisterSymbolImpl(this);
}

void* QVRDynamicSymbolImpl::getImpl() const {
  const QVRSysLockGuard guard(monitor());
  return _getImpl();
}

std::string QVRDynamicSymbolImpl::getName() const {
  const QVRSysLockGuard guard(monitor());
  return _getName();
}

QVRDynamicLibraryHandle QVRDynamicSymbolImpl::getLibrary() const {
  const QVRSysLockGuard guard(monitor());
  return _getLibrary();
}

void* QVRDynamicSymbolImpl::_getImpl() const { return address_; }

std::string QVRDynamicSymbolImpl::_getName() const { return entry_.name; }

QVRDynamicLibraryHandle QVRDynamicSymbolImpl::_getLibrary() const { return library_; }
