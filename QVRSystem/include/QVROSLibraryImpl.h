// A shared library as the system has loaded it.
#pragma once

#include <string>

#include "QVRForkedBody.h"
#include "QVRSysBodyBase.h"
#include "QVRSystemExport.h"

/// One load of a shared library by the system, shared through QVROSLibraryHandle.
///
/// A library stays loaded until the process ends, so that addresses that were copied out stay
/// valid: letting go of the body unloads nothing.
///
/// @par Thread safety
/// Any thread may call any operation. Each waits until nobody else holds the body's monitor;
/// none holds it while the system loads or searches, since the initialiser of a module that is
/// being loaded may wait for a thread that uses this one. The child of a fork finds the monitor
/// free, unless its own thread held it.
class QVRSYSTEM_API QVROSLibraryImpl : public QVRSysBodyBase {
 public:
  /// Has the system load the library, with all its symbols resolved and none of them offered
  /// to other libraries. Runs the library's initialisers where it was not loaded yet. A request
  /// of the system's own kind to cancel the thread waits meanwhile.
  /// @param path the system gets it with forward slashes and otherwise as it is: without a
  ///   separator it is searched for by the system's rules, and nothing is added to it.
  /// @throws QVREOpenFailed "file open error" (line 149) if the system cannot load it; so it
  ///   cannot where the path is empty or has a zero byte. Nothing is left behind.
  /// @throws QVREInternalError as QVRSysMutexLock does, std::bad_alloc.
  explicit QVROSLibraryImpl(const std::string& path);

  /// Unloads nothing.
  ~QVROSLibraryImpl() noexcept override;

  QVROSLibraryImpl(const QVROSLibraryImpl&) = delete;
  QVROSLibraryImpl& operator=(const QVROSLibraryImpl&) = delete;

  /// The system's handle of the library; never null.
  void* getOSLibrary() const;

  /// @param name the exported name, to which nothing is added.
  /// @return the address, in the library or else in one that it depends on; never null.
  /// @throws QVREOpenFailed "not found the symbol" (line 204) where there is none, or the
  ///   address is null.
  void* getOSSymbol(const std::string& name) const;

 private:
  friend struct QVROSLibraryImplTestAccess;

  // Waits for nobody.
  void* _getOSSymbol(const std::string& name) const;

  void* const library_;  // the system's, which keeps it
  const qvr::internal::ForkedBody forked_;
};
