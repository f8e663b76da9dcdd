// What the operations on path texts have to give: each rule by itself, step by step,
// with no thought of speed.
#pragma once

#include <string>
#include <string_view>

namespace fuzz::path {

/// The text with each separator of either kind replaced.
std::string converted(std::string_view text, char separator);

std::string basename(const std::string& text);
std::string dirname(const std::string& text);
std::string joined(const std::string& text, const std::string& part);

bool isNtValid(const std::string& text);
bool isUnixValid(const std::string& text);

/// The text with its references, "%NAME%" or "$NAME", replaced by `home`.
std::string expanded(std::string text, const std::string& home);
std::string unixExpanded(std::string text, const std::string& home);

/// The absolute form of a text that is not empty.
/// @param directory the current one, as the system gives it.
std::string full(const std::string& text, const std::string& directory);

/// Whether the system knows what a text names.
bool exists(const std::string& text);

}  // namespace fuzz::path
