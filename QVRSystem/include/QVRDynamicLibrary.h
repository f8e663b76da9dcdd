// A shared library, loaded by its path.
#pragma once

#include <string>

#include "QVRDynamicLibraryHandle.h"
#include "QVRSystemExport.h"

class QVRDynamicSymbol;

/// The handle by which callers load a shared library and look up what it exports. What it
/// offers is described at QVRDynamicLibraryImpl; the operations need a handle that is not empty.
///
/// @code
/// const QVRDynamicSymbol version = QVRDynamicLibrary::getLibrary(path).getSymbol("version");
/// @endcode
class QVRSYSTEM_API QVRDynamicLibrary : public QVRDynamicLibraryHandle {
 public:
  /// Empty.
  QVRDynamicLibrary() noexcept = default;

  /// Shares the body; null for an empty handle.
  QVRDynamicLibrary(QVRDynamicLibraryImpl* body) noexcept : QVRDynamicLibraryHandle(body) {}

  /// A new library, which getLibrary() of the path gives from now on. @throws what
  /// QVRDynamicLibraryImpl throws.
  explicit QVRDynamicLibrary(const std::string& path);

  /// The same, once it is sure that the library exports the symbol.
  /// @throws what getSymbol() throws too; the library is let go again.
  QVRDynamicLibrary(const std::string& path, const std::string& symbolName);

  QVRDynamicLibrary(const QVRDynamicLibrary&) noexcept = default;
  QVRDynamicLibrary(QVRDynamicLibrary&&) noexcept = default;
  QVRDynamicLibrary& operator=(const QVRDynamicLibrary&) noexcept = default;
  QVRDynamicLibrary& operator=(QVRDynamicLibrary&&) noexcept = default;
  virtual ~QVRDynamicLibrary() = default;

  /// As QVRDynamicLibraryHandle assigns a body.
  QVRDynamicLibrary& operator=(QVRDynamicLibraryImpl* body) noexcept {
    return *this = QVRDynamicLibrary(body);
  }

  /// The library of that path, shared by all who ask for it here.
  static QVRDynamicLibrary getLibrary(const std::string& path);

  bool isOpen() const;
  std::string getPath() const;
  void open();
  void close();
  QVRDynamicSymbol getSymbol(const std::string& name) const;
};
