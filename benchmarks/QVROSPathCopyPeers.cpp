// Boost.Filesystem beside QVROSPath's copies.
#include <boost/filesystem/operations.hpp>
#include <string>

#include "QVROSPathCopyFiles.h"

namespace {

[[maybe_unused]] const bool boostFilesystem = registerCopiesOfEach(
    "Boost.Filesystem",
    [](const std::string& from, const std::string& to) { boost::filesystem::copy_file(from, to); });

}  // namespace
