// The checksums that shared libraries compute.
#pragma once

#include <string>

#include "CataloguePlugin.h"
#include "QVROSSearchPath.h"

namespace catalogue {

/// Where plug-ins are looked for: in the given directories, separated by semicolons; then in those
/// of the environment variable QVRCataloguePlugins; then where those of this program are, built
/// or installed.
QVROSSearchPath pluginDirectories(const std::string& given);

/// The checksum of `catalogue-NAME.so` in the first of the directories that has it. It is there
/// until the process ends, as its library is.
///
/// @throws QVREDoesNotExist, QVREOpenFailed, QVREInvalidFormat with a text of one line for the
/// user.
const CatalogueChecksum& findChecksum(const std::string& name, const QVROSSearchPath& directories);

}  // namespace catalogue
