#include "QVRDynamicLibraryImpl.h"

#include <utility>

#include "QVRDynamicLibrary.h"
#include "QVRDynamicSymbol.h"
#include "QVRNameTable.h"
#include "QVRSysLockGuard.h"
#include "QVRSystem/internal/QVRBiasedLock.h"
#include "QVRSystem/internal/QVRFork.h"
#include "QVRSystem/internal/QVRThreadState.h"

using qvr::internal::BiasedLockGuard;
using qvr::internal::ForkLock;
using qvr::internal::ForkRank;
using qvr::internal::NamedEntry;
using qvr::internal::NameTable;
using qvr::internal::ShortSection;

QVRSysFastMutexLock QVRDynamicLibraryImpl::libraryTableLock_{QVRStaticObject{}};
constinit NamedEntry* QVRDynamicLibraryImpl::libraryTable_ = nullptr;

struct [[gnu::visibility("hidden")]] QVRDynamicLibraryImpl::ForkedTable {
  static const ForkLock lock;
};

const ForkLock QVRDynamicLibraryImpl::ForkedTable::lock(ForkRank::Libraries,
                                                        libraryTableLock_.getNativeLock());

QVRDynamicLibraryImpl::QVRDynamicLibraryImpl(const std::string& path, NotRegistered)
    : entry_(path, *this), forked_(mutex().getNativeLock(), &lock_) {
  _open();
}

QVRDynamicLibraryImpl::QVRDynamicLibraryImpl(const std::string& path)
    : QVRDynamicLibraryImpl(path, NotRegistered()) {
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(libraryTableLock_);
  registerLibraryImpl(this);
}

QVRDynamicLibraryImpl::~QVRDynamicLibraryImpl() noexcept {
  close();
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(libraryTableLock_);
  unregisterLibraryImpl(this);
}

// Behind the monitor, not under it: see the class.
void QVRDynamicLibraryImpl::open() {
  if (!isOpen()) _open();
}

void QVRDynamicLibraryImpl::close() {
  const QVRSysLockGuard guard(monitor());
  _close();
}

bool QVRDynamicLibraryImpl::isOpen() const {
  const QVRSysLockGuard guard(monitor());
  return _isOpen();
}

std::string QVRDynamicLibraryImpl::getPath() const {
  const QVRSysLockGuard guard(monitor());
  return _getPath();
}

QVROSLibraryHandle QVRDynamicLibraryImpl::getHandle() {
  open();
  return _getHandle();
}

void QVRDynamicLibraryImpl::_open() {
  if (_isOpen()) return;
  QVROSLibraryHandle loaded(entry_.name);

  const ShortSection section;
  const BiasedLockGuard guard(lock_);
  if (isOpen_) return;  // another thread was faster
  std::swap(handle_, loaded);
  isOpen_ = true;
}

void QVRDynamicLibraryImpl::_close() {
  const ShortSection section;
  const BiasedLockGuard guard(lock_);
  isOpen_ = false;
}

bool QVRDynamicLibraryImpl::_isOpen() const {
  const ShortSection section;
  const BiasedLockGuard guard(lock_);
  return isOpen_;
}

std::string QVRDynamicLibraryImpl::_getPath() const { return entry_.name; }

QVROSLibraryHandle QVRDynamicLibraryImpl::_getHandle() {
  _open();
  const ShortSection section;
  const BiasedLockGuard guard(lock_);
  return handle_;
}

QVRDynamicLibrary QVRDynamicLibraryImpl::getLibrary(const std::string& path) {
  QVRDynamicLibrary library;
  if (!findLibrary(path, library)) library = makeLibrary(path);
  return library;
}

QVRDynamicSymbol QVRDynamicLibraryImpl::getSymbol(const std::string& name) {
  QVRDynamicSymbol symbol;
  if (!findSymbol(name, symbol)) symbol = makeSymbol(name);
  return symbol;
}

bool QVRDynamicLibraryImpl::findLibrary(const std::string& path, QVRDynamicLibrary& found) {
  const std::size_t hash = NameTable::hash(path);
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(libraryTableLock_);
  return NameTable::share(libraryTable_, path, hash, found);
}

bool QVRDynamicLibraryImpl::findSymbol(const std::string& name, QVRDynamicSymbol& found) {
  const std::size_t hash = NameTable::hash(name);
  const ShortSection section;
  const BiasedLockGuard guard(lock_);
  return NameTable::share(symbolTable_, name, hash, found);
}

// Another thread may have been faster meanwhile; what was made in vain was never registered.
QVRDynamicLibrary QVRDynamicLibraryImpl::makeLibrary(const std::string& path) {
  auto* const body = new QVRDynamicLibraryImpl(path, NotRegistered());
  QVRDynamicLibrary made(body);
  QVRDynamicLibrary found;

  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(libraryTableLock_);
  if (NameTable::share(libraryTable_, path, body->entry_.hash, found)) return found;
  registerLibraryImpl(body);
  return made;
}

// A symbol that is not found, or not made, has never counted its library up: it must not be the
// one to let go of the last reference, to a body that its maker holds only by its address.
QVRDynamicSymbol QVRDynamicLibraryImpl::makeSymbol(const std::string& name) {
  void* const address = getHandle().getOSSymbol(name);
  auto* const body = new QVRDynamicSymbolImpl(*this, name, address);
  QVRDynamicSymbol made(body);
  QVRDynamicSymbol found;

  const ShortSection section;
  const BiasedLockGuard guard(lock_);
  if (NameTable::share(symbolTable_, name, body->entry_.hash, found)) return found;
  registerSymbolImpl(body);
  return made;
}

void QVRDynamicLibraryImpl::registerLibraryImpl(QVRDynamicLibraryImpl* body) {
  NameTable::enter(libraryTable_, body->entry_);
  body->isRegistered_ = true;
}

void QVRDynamicLibraryImpl::unregisterLibraryImpl(const QVRDynamicLibraryImpl* body) {
  if (body->isRegistered_) NameTable::remove(libraryTable_, body->entry_);
}

void QVRDynamicLibraryImpl::registerSymbolImpl(QVRDynamicSymbolImpl* symbol) {
  NameTable::enter(symbolTable_, symbol->entry_);
}

void QVRDynamicLibraryImpl::unregisterSymbolImpl(const QVRDynamicSymbolImpl* symbol) {
  const ShortSection section;
  const BiasedLockGuard guard(lock_);
  if (NameTable::has(symbolTable_, symbol->entry_)) NameTable::remove(symbolTable_, symbol->entry_);
}
