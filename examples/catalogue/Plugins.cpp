#include "Plugins.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "Printable.h"
#include "QVRDynamicLibrary.h"
#include "QVRDynamicSymbol.h"
#include "QVREDoesNotExist.h"
#include "QVREInvalidFormat.h"
#include "QVREOpenFailed.h"
#include "QVROSPath.h"

namespace catalogue {
namespace {

namespace fs = std::filesystem;

constexpr char kSource[] = "examples/catalogue/Plugins";

/// Beside the program: where they are built, and where they are installed.
constexpr const char* kOwnDirectories[] = {"plugins", CATALOGUE_INSTALLED_PLUGINS};

/// The function that a plug-in exports.
class ChecksumSymbol : public QVRDynamicSymbol {
 public:
  using QVRDynamicSymbol::QVRDynamicSymbol;

  const CatalogueChecksum* operator()() const {
    return reinterpret_cast<decltype(&catalogueChecksum)>(body()->getImpl())();
  }
};

template <class Failure, class... Subjects>
[[noreturn]] void refuse(const wchar16* text, int line, const Subjects&... subjects) {
  Failure failure(text, kSource, line);
  (failure << ... << printableInLocale(subjects));
  throw failure;
}

std::string textOf(const QVROSSearchPath& directories) {
  std::string text;
  for (const QVROSPath& directory : directories) {
    if (!text.empty()) text += ';';
    text += directory.getUNIXPath();
  }
  return text;
}

/// The library of that name. It is a file's, and not a path that leads elsewhere.
std::string findLibrary(const std::string& name, const QVROSSearchPath& directories) {
  const std::string file = "catalogue-" + name + ".so";
  QVROSPath library;
  const bool isFile = name.find_first_of("/\\%") == name.npos;
  if (isFile && directories.findFile(file, library)) return library.getUNIXPath();
  refuse<QVREDoesNotExist>(u"there is no checksum '%1': no '%2' in '%3'", __LINE__, name, file,
                           textOf(directories));
}

QVRDynamicLibrary load(const std::string& path) {
  try {
    return QVRDynamicLibrary::getLibrary(path);
  } catch (const QVREOpenFailed& failure) {
    refuse<QVREOpenFailed>(u"the plug-in '%1' cannot be loaded: %2", __LINE__, path,
                           failure.what());
  }
}

ChecksumSymbol symbolOf(const QVRDynamicLibrary& library, const std::string& path) {
  try {
    return {library, CATALOGUE_CHECKSUM_SYMBOL};
  } catch (const QVREOpenFailed&) {
    refuse<QVREOpenFailed>(u"'%1' is no plug-in of the catalogue: it has no function '%2'",
                           __LINE__, path, CATALOGUE_CHECKSUM_SYMBOL);
  }
}

/// The checksum, where it is one. Before the version is known to be that of this program, nothing
/// else of it may be looked at.
const CatalogueChecksum& soundOne(const CatalogueChecksum* checksum, const std::string& path) {
  if (checksum && checksum->version != CATALOGUE_PLUGIN_VERSION) {
    refuse<QVREInvalidFormat>(
        u"the plug-in '%1' has version %2 of the interface, and this program version %3", __LINE__,
        path, std::to_string(checksum->version), std::to_string(CATALOGUE_PLUGIN_VERSION));
  }
  const bool isWhole = checksum && checksum->name && checksum->digestSize && checksum->stateSize &&
                       checksum->begin && checksum->update && checksum->end;
  if (isWhole) return *checksum;
  refuse<QVREInvalidFormat>(u"the plug-in '%1' is not complete", __LINE__, path);
}

}  // namespace

QVROSSearchPath pluginDirectories(const std::string& given) {
  QVROSSearchPath directories;
  directories += given;
  if (const char* const others = std::getenv("QVRCataloguePlugins")) directories += others;
  std::error_code failure;
  const fs::path program = fs::read_symlink("/proc/self/exe", failure);
  if (failure) return directories;
  for (const char* own : kOwnDirectories) {
    directories += (program.parent_path() / own).lexically_normal().string();
  }
  return directories;
}

const CatalogueChecksum& findChecksum(const std::string& name, const QVROSSearchPath& directories) {
  const std::string path = findLibrary(name, directories);
  return soundOne(symbolOf(load(path), path)(), path);
}

}  // namespace catalogue
