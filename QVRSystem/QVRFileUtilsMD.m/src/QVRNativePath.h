// Path texts on their way to the system.
#pragma once

#include <algorithm>
#include <cerrno>
#include <string>

namespace qvr {

/// Calls a function of the platform with the path as the system takes it: with
/// forward slashes. A text with a zero byte, of which the system would see only a
/// part, names nothing.
/// @return what the function returns, or ENOENT.
template <class Call>
int withNativePath(std::string path, Call call) {
  if (path.find('\0') != std::string::npos) return ENOENT;
  std::replace(path.begin(), path.end(), '\\', '/');
  return call(path.c_str());
}

}  // namespace qvr
