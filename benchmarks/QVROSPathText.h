// What the path benchmarks split and join.
#pragma once

#include <string>

/// 60 characters, of which the name takes 10.
inline const std::string kPathText = "/home/engineer/projects/wing/assemblies/ribs/left/rib_17.prt";

inline const std::string kPartText = "revision_3";
