// The tree that the walks are timed on.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

/// Directories three levels deep, the innermost with files. Made on first use and
/// gone when the program ends. The walks before the first one that is timed bring
/// it into the system's caches.
class Tree {
 public:
  static const Tree& instance() {
    static const Tree tree;
    return tree;
  }

  /// Innermost directories and files in each, as "1000x100".
  static std::string size() {
    return std::to_string(fanOut() * fanOut() * fanOut()) + 'x' + std::to_string(filesEach());
  }

  const std::string& path() const { return path_; }
  std::size_t files() const { return files_; }
  std::size_t directories() const { return directories_; }  // without the root

 private:
  static bool isSmall() { return std::getenv("QVR_BENCHMARK_SMALL") != nullptr; }
  static int fanOut() { return isSmall() ? 2 : 10; }
  static int filesEach() { return isSmall() ? 10 : 100; }

  Tree() : path_(std::filesystem::temp_directory_path() / "qvr-tree-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary directory");
    fill(path_, 3);
  }
  ~Tree() { std::filesystem::remove_all(path_); }

  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  void fill(const std::string& directory, int levels) {
    for (int i = 0; levels == 0 && i < filesEach(); ++i, ++files_) {
      std::ofstream(directory + "/file-" + std::to_string(i) + ".txt").flush();
    }
    for (int i = 0; levels > 0 && i < fanOut(); ++i, ++directories_) {
      const std::string inner = directory + "/directory-" + std::to_string(i);
      std::filesystem::create_directory(inner);
      fill(inner, levels - 1);
    }
  }

  std::string path_;
  std::size_t files_ = 0;
  std::size_t directories_ = 0;
};
