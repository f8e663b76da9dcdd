#include "PathModel.h"

#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <vector>

namespace {

constexpr std::size_t kNone = std::string::npos;
constexpr std::size_t kMaxValidLength = 1024;

bool containsAny(const std::string& text, const char* characters) {
  return text.find_first_of(characters) != kNone;
}

}  // namespace

std::string fuzz::path::converted(std::string_view text, char separator) {
  std::string result(text);
  for (char& c : result) {
    if (c == '/' || c == '\\') c = separator;
  }
  return result;
}

std::string fuzz::path::basename(const std::string& text) {
  const std::size_t last = text.rfind('\\');
  if (last == kNone) return text;
  if (last + 1 != text.size()) return text.substr(last + 1);
  if (text == "\\") return "";
  const std::size_t before = text.rfind('\\', last - 1);
  if (before == kNone) return text.substr(0, text.size() - 1);
  if (before + 1 == last) return "";
  return text.substr(before + 1, last - before - 1);
}

std::string fuzz::path::dirname(const std::string& text) {
  const bool hasColon = text.find(':') != kNone;
  const std::size_t last = text.rfind('\\');
  if (last == kNone) return hasColon ? text : ".";
  if (text == "\\" || last == 0) return text.substr(0, 1);
  if (last + 1 == text.size()) {
    const std::size_t before = text.rfind('\\', last - 1);
    if (before == kNone) return hasColon ? text.substr(0, text.size() - 1) : ".";
    if (before == 0) return text.substr(0, 1);
    return text.substr(0, before);
  }
  return text.substr(0, last);
}

std::string fuzz::path::joined(const std::string& text, const std::string& part) {
  const std::string added = converted(part, '\\');
  if (text.empty()) return added;
  const bool ends = text.back() == '\\';
  const bool begins = !added.empty() && added.front() == '\\';
  if (ends && begins) return text + added.substr(1);
  if (!ends && !begins) return text + '\\' + added;
  return text + added;
}

bool fuzz::path::isNtValid(const std::string& text) {
  return converted(text, '\\') == text && text.size() <= kMaxValidLength &&
         !containsAny(text, ":?\"<>|\t\n ");
}

bool fuzz::path::isUnixValid(const std::string& text) {
  return converted(text, '/') == text && text.size() <= kMaxValidLength &&
         !containsAny(text, "`\"\t\n ");
}

std::string fuzz::path::expanded(std::string text, const std::string& home) {
  const auto sign = [&](std::size_t from) {
    return from == kNone || from > text.size() ? kNone : text.find('%', from);
  };
  const auto behind = [](std::size_t place) { return place == kNone ? kNone : place + 1; };
  // A home with signs of its own must not be expanded for ever.
  std::size_t replacements =
      static_cast<std::size_t>(std::count(text.begin(), text.end(), '%')) / 2;
  std::size_t a = sign(0);
  std::size_t b = sign(behind(a));
  while (b != kNone) {
    const std::string between = text.substr(a + 1, b - a - 1);
    if (between.find('\\') != kNone) {
      a = b;
      b = sign(behind(b));
      continue;
    }
    if (replacements == 0) break;
    --replacements;
    text = text.substr(0, a) + home + text.substr(b + 1);
    a = sign(b + 1);
    b = sign(behind(a));
  }
  return text;
}

std::string fuzz::path::unixExpanded(std::string text, const std::string& home) {
  std::size_t a = text.find('$');
  while (a != kNone) {
    std::size_t end = text.find('\\', a);
    if (end == kNone) end = text.size();
    if (end > a + 1) {
      text = text.substr(0, a) + home + text.substr(end);
      end = a + home.size();
    }
    if (end + 1 >= text.size()) break;
    a = text.find('$', end);
  }
  return text;
}

std::string fuzz::path::full(const std::string& text, const std::string& directory) {
  const std::string given = converted(text, '/');
  const bool isAbsolute = given.front() == '/';
  std::istringstream names(isAbsolute ? given : directory + '/' + given);
  std::vector<std::string> kept;
  for (std::string name; std::getline(names, name, '/');) {
    if (name.empty() || name == ".") continue;
    if (name != "..") {
      kept.push_back(name);
    } else if (!kept.empty()) {
      kept.pop_back();
    }
  }
  std::string result;
  for (const std::string& name : kept) result += '\\' + name;
  if (result.empty() || given.back() == '/') result += '\\';
  return result;
}

bool fuzz::path::exists(const std::string& text) {
  if (text.find('\0') != kNone) return false;
  return access(converted(text, '/').c_str(), F_OK) == 0;
}
