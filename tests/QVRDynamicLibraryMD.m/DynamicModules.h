// The modules that tests load, and handles that tell what they share.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>

#include "QVRDynamicLibrary.h"
#include "QVRDynamicSymbol.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"

constexpr char kLoaderSource[] = "QVRSystem/QVRDynamicLibraryMD.m/src/QVROSLibraryHandle";
constexpr char kNotLoaded[] = "file open error";
constexpr int kNotLoadedLine = 149;
constexpr char kNoSymbol[] = "not found the symbol";
constexpr int kNoSymbolLine = 204;

/// Calls what a symbol stands for, with the type of `Function`.
template <class Function, class... Arguments>
auto callSymbol(void* address, Arguments... arguments) {
  return reinterpret_cast<Function*>(address)(arguments...);
}

/// A handle of the library that shows its body.
template <class Handle>
class Open : public Handle {
 public:
  using Handle::body;
  using Handle::Handle;
  Open(const Handle& other) : Handle(other) {}
};

inline QVRDynamicLibraryImpl* bodyOf(const QVRDynamicLibrary& library) {
  return Open<QVRDynamicLibrary>(library).body();
}
inline QVRDynamicSymbolImpl* bodyOf(const QVRDynamicSymbol& symbol) {
  return Open<QVRDynamicSymbol>(symbol).body();
}

/// A module under a path of its own, which nobody has loaded yet.
class ModuleCopy {
 public:
  explicit ModuleCopy(const char* module = QVR_LOADED_MODULE) : path_(directory_ / "module.so") {
    std::filesystem::copy_file(module, path_);
  }

  const std::string& path() const { return path_; }

 private:
  const TemporaryDirectory directory_;
  const std::string path_;
};

/// Has the initialisers of modules that are loaded within a scope run an action. One at a
/// time, and where no other thread runs at its beginning and end.
class ModuleInitialiser {
 public:
  explicit ModuleInitialiser(std::function<void()> action)
      : address_("QVR_TEST_INITIALISER",
                 std::to_string(reinterpret_cast<std::uintptr_t>(&run)).c_str()) {
    action_ = std::move(action);
  }
  ~ModuleInitialiser() { action_ = nullptr; }

  ModuleInitialiser(const ModuleInitialiser&) = delete;
  ModuleInitialiser& operator=(const ModuleInitialiser&) = delete;

 private:
  static void run() { action_(); }

  static inline std::function<void()> action_;
  const ScopedEnvironment address_;
};
