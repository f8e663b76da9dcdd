#include "QVROSLibraryHandle.h"

#include "QVREOpenFailed.h"
#include "QVRSysLockGuard.h"
#include "QVRSystem/internal/QVRNativePath.h"
#include "QVRSystem/platform/QVRPlatformLibrary.h"

namespace {

namespace platform = qvr::platform;

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRDynamicLibraryMD.m/src/QVROSLibraryHandle";
constexpr int kLoadLine = 149;
constexpr int kSymbolLine = 204;

// Of an empty path the system would give the program itself.
void* load(const std::string& path) {
  void* library = nullptr;
  const auto loadIt = [&](const char* text) { return platform::loadLibrary(text, library); };
  if (path.empty() || qvr::withNativePath(path, loadIt) != 0) {
    throw QVREOpenFailed(u"file open error", kSource, kLoadLine);
  }
  return library;
}

// Of a name with a zero byte the system would see a part.
void* find(void* library, const std::string& name) {
  void* address = nullptr;
  if (name.find('\0') != std::string::npos ||
      platform::findSymbol(library, name.c_str(), address) != 0) {
    throw QVREOpenFailed(u"not found the symbol", kSource, kSymbolLine);
  }
  return address;
}

}  // namespace

QVROSLibraryImpl::QVROSLibraryImpl(const std::string& path)
    : library_(load(path)), forked_(mutex().getNativeLock()) {}

QVROSLibraryImpl::~QVROSLibraryImpl() noexcept = default;

void* QVROSLibraryImpl::getOSLibrary() const {
  const QVRSysLockGuard guard(monitor());
  return library_;
}

// Behind the monitor, not under it: the system's search waits for a module that is being
// loaded, and that one's initialiser may be about to ask for a symbol of this library.
void* QVROSLibraryImpl::getOSSymbol(const std::string& name) const {
  { const QVRSysLockGuard guard(monitor()); }
  return _getOSSymbol(name);
}

void* QVROSLibraryImpl::_getOSSymbol(const std::string& name) const { return find(library_, name); }

QVROSLibraryHandle::QVROSLibraryHandle(const std::string& path)
    : QVROSLibraryHandle(new QVROSLibraryImpl(path)) {}

void* QVROSLibraryHandle::getOSLibrary() const { return body()->getOSLibrary(); }

void* QVROSLibraryHandle::getOSSymbol(const std::string& name) const {
  return body()->getOSSymbol(name);
}
