// The walk over a directory tree.
#pragma once

#include <string>

#include "Catalogue.h"

namespace catalogue {

class Progress;

/// Catalogues the tree of a directory that is there. Links within it are not
/// followed; `directory` itself may be one.
Catalogue walk(const std::string& directory, Progress& progress);

}  // namespace catalogue
