// The walk over a directory tree.
#pragma once

#include "Catalogue.h"

namespace catalogue {

class Interruption;
class Progress;
struct Options;

/// Catalogues the tree of the options' directory, which is there, up to the interruption. Links
/// within it are not followed; the directory itself may be one. The number of threads changes
/// nothing but the time that it takes.
Catalogue walk(const Options& options, Progress& progress, const Interruption& interruption);

}  // namespace catalogue
