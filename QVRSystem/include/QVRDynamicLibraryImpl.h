// A shared library that is open by a path, and its symbols.
#pragma once

#include <string>

#include "QVRBiasedLockStorage.h"
#include "QVRForkedBody.h"
#include "QVRNamedEntry.h"
#include "QVROSLibraryHandle.h"
#include "QVRSysBodyBase.h"
#include "QVRSysFastMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

class QVRDynamicLibrary;
class QVRDynamicSymbol;
class QVRDynamicSymbolImpl;

/// A shared library under the path by which it was asked for, with the symbols that were
/// looked up in it; shared through QVRDynamicLibrary.
///
/// A table of the process names the youngest body of each path, and each body has a table of
/// its symbols. The tables hold no references: a library lives as long as its handles and the
/// symbols found in it, a symbol as long as its handles.
///
/// | | isOpen() | after open(), getHandle(), or getSymbol() of a new name | after close() |
/// |---|---|---|---|
/// | open: as made | `true` | open | closed |
/// | closed | `false` | open, through one more load by the system | closed |
///
/// Closing unloads nothing, and symbols keep their addresses.
///
/// No table hands out a body that is being destroyed or has been. It shares a body only by
/// counting it up from at least 1, with its lock held; and a body's destructor takes that lock,
/// to remove what names the body, before its name and its count go. So whoever finds a body in
/// a table may look at these, and where the count is 0 leaves the body alone: the thread that
/// took it to 0 is about to destroy it, or nobody holds it yet and its maker may destroy it. In
/// its place a new one is made. One that was shared lives: no thread takes the count to 0 any
/// more but the one that lets go of the last handle, the new one included.
///
/// @par Thread safety
/// Any thread may call any operation. But for getSymbol() and getLibrary(), each waits until
/// nobody else holds the monitor. No lock is held while the system loads or searches, in which
/// a module's initialisers run: these may use everything here, wait for threads that do, and
/// fork. Threads that ask for one library, or one symbol, at the same time may each have the
/// system look for it; they share what the first of them brought. In the child of a fork all
/// locks are free, but for a monitor that its own thread held.
/// @par Cost
/// A symbol or a library asked for again is found in time that grows with the logarithm of the
/// size of the table. As long as one thread alone asks a library for symbols, it takes the
/// library's lock without atomic operations.
class QVRSYSTEM_API QVRDynamicLibraryImpl : public QVRSysBodyBase {
 public:
  /// Has the system load the library, and then has the table name this body for the path, in
  /// the place of any other.
  /// @param path as for QVROSLibraryImpl; the table goes by its bytes.
  /// @throws what QVROSLibraryImpl throws; then the table is as it was.
  explicit QVRDynamicLibraryImpl(const std::string& path);

  /// Takes its path out of the table, whichever body that names.
  ~QVRDynamicLibraryImpl() noexcept override;

  QVRDynamicLibraryImpl(const QVRDynamicLibraryImpl&) = delete;
  QVRDynamicLibraryImpl& operator=(const QVRDynamicLibraryImpl&) = delete;

  /// Loads the library once more unless it is open.
  /// @throws what QVROSLibraryImpl throws; then it is not open.
  void open();

  /// From now on it is not open; nothing else changes.
  void close();

  bool isOpen() const;

  /// As it was given.
  std::string getPath() const;

  /// The system's library, opened where it was not. @throws what open() throws.
  QVROSLibraryHandle getHandle();

  /// The symbol of that name, exactly: the one that is there already, or else a new one, for
  /// which a library that is not open is opened.
  /// @throws QVREOpenFailed "not found the symbol", what open() throws, std::bad_alloc,
  ///   QVREInternalError as QVRSysMutexLock does. The table then is as it was.
  QVRDynamicSymbol getSymbol(const std::string& name);

  /// The library of that path, exactly: the one that is there already, open or not, or else a
  /// new one. @throws what the constructor throws.
  static QVRDynamicLibrary getLibrary(const std::string& path);

 protected:
  // Those without the underscore, for whoever has the monitor.
  void _open();
  void _close();
  bool _isOpen() const;
  std::string _getPath() const;
  QVROSLibraryHandle _getHandle();

 private:
  friend class QVRDynamicSymbolImpl;  // leaves the table when it dies
  friend struct QVRDynamicLibraryImplTestAccess;

  struct ForkedTable;
  struct NotRegistered {};

  QVRDynamicLibraryImpl(const std::string& path, NotRegistered);

  static bool findLibrary(const std::string& path, QVRDynamicLibrary& found);
  static QVRDynamicLibrary makeLibrary(const std::string& path);
  static void registerLibraryImpl(QVRDynamicLibraryImpl* body) QVR_REQUIRES(libraryTableLock_);
  static void unregisterLibraryImpl(const QVRDynamicLibraryImpl* body)
      QVR_REQUIRES(libraryTableLock_);

  bool findSymbol(const std::string& name, QVRDynamicSymbol& found);
  QVRDynamicSymbol makeSymbol(const std::string& name);
  void registerSymbolImpl(QVRDynamicSymbolImpl* symbol) QVR_REQUIRES(lock_);
  void unregisterSymbolImpl(const QVRDynamicSymbolImpl* symbol);

  static QVRSysFastMutexLock libraryTableLock_;
  static constinit qvr::internal::NamedEntry* libraryTable_ QVR_GUARDED_BY(libraryTableLock_);

  qvr::internal::NamedEntry entry_;                              // by the path, in libraryTable_
  bool isRegistered_ QVR_GUARDED_BY(libraryTableLock_) = false;  // whether it ever was
  bool isOpen_ QVR_GUARDED_BY(lock_) = false;
  QVROSLibraryHandle handle_ QVR_GUARDED_BY(lock_);
  qvr::internal::NamedEntry* symbolTable_ QVR_GUARDED_BY(lock_) = nullptr;
  mutable qvr::internal::BiasedLockStorage lock_;
  const qvr::internal::ForkedBody forked_;
};
