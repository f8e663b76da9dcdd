// What it costs to find a file in the last of many directories, beside what the system
// alone takes to look there.
#include "QVROSSearchPath.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr int kDirectories = 50;
constexpr char kName[] = "configuration.xml";

/// Directories of which the last has the file, in a place of their own.
class Directories {
 public:
  Directories() {
    std::string root = std::filesystem::temp_directory_path() / "qvr-search-XXXXXX";
    if (mkdtemp(root.data()) == nullptr) std::abort();
    root_ = root;
    for (int i = 0; i < kDirectories; ++i) {
      paths_.push_back(root + "/product/resources/directory" + std::to_string(i));
      std::filesystem::create_directories(paths_.back());
    }
    std::ofstream(paths_.back() + '/' + kName);
  }
  ~Directories() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }

  Directories(const Directories&) = delete;
  Directories& operator=(const Directories&) = delete;

  const std::vector<std::string>& paths() const { return paths_; }

 private:
  std::string root_;
  std::vector<std::string> paths_;
};

void ownFindFile(benchmark::State& state) {
  const Directories directories;
  QVROSSearchPath path;
  for (const std::string& directory : directories.paths()) path.pushBack(directory);
  const QVROSPath file = kName;
  for (auto _ : state) {
    QVROSPath result;
    if (!path.findFile(file, result)) state.SkipWithError("not found");
    benchmark::DoNotOptimize(result);
  }
}
BENCHMARK(ownFindFile)->Name("QVROSSearchPath/findFile/50");

void stdFindFile(benchmark::State& state) {
  const Directories directories;
  const std::vector<std::filesystem::path> path(directories.paths().begin(),
                                                directories.paths().end());
  for (auto _ : state) {
    std::filesystem::path result;
    for (const std::filesystem::path& directory : path) {
      result = directory / kName;
      if (std::filesystem::exists(result)) break;
    }
    benchmark::DoNotOptimize(result);
  }
}
BENCHMARK(stdFindFile)->Name("std::filesystem/findFile/50");

void bareFindFile(benchmark::State& state) {
  const Directories directories;
  std::vector<std::string> files;
  for (const std::string& directory : directories.paths()) files.push_back(directory + '/' + kName);
  for (auto _ : state) {
    std::size_t i = 0;
    while (i < files.size() && access(files[i].c_str(), F_OK) != 0) ++i;
    benchmark::DoNotOptimize(i);
  }
}
BENCHMARK(bareFindFile)->Name("access (limit)/findFile/50");

}  // namespace
