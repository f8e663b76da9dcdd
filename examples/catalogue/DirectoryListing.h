// The kinds of a directory's entries.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <vector>

namespace catalogue {

/// Unknown is the kind of an entry whose status the system refuses.
enum class Kind { Directory, RegularFile, Other, Unknown };

/// Whether a QVROSPath can name it: there, a backslash separates names and a pair
/// of percent signs in one name stands for a variable.
bool isNameable(std::string_view path);

/// The names in one directory, with the kind of each.
///
/// A path tells neither a link from what it names nor a name with backslashes
/// from one that seems the same. This list does both, also where the directory
/// can be read but not searched, and asks for no file's status as long as the
/// directory itself tells the kinds of its entries.
class DirectoryListing {
 public:
  struct Entry {
    std::string name;
    Kind kind;
  };

  explicit DirectoryListing(const std::string& path);

  /// Why the list ends early, if it does.
  const std::error_code& failure() const { return failure_; }

  /// Takes a name out.
  /// @return its kind; nothing if the name is not there (any more) or not nameable.
  std::optional<Kind> take(const std::string& name);

  const std::vector<Entry>& unnameable() const { return unnameable_; }

 private:
  void add(std::string name, Kind kind);

  std::error_code failure_;
  std::unordered_map<std::string, Kind> kinds_;
  std::vector<Entry> unnameable_;
};

}  // namespace catalogue
