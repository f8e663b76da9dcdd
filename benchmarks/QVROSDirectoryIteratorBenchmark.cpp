// What walking a tree costs, warm.
//
// - walk: every entry is reached and its type known, as the walk or the listing
//   tells it: ours decides for each whether it is to be entered, the others are
//   asked whether it is a regular file (fts, which then tells no more, whether it
//   is a directory).
// - paths: its path text besides.
// - status: its status besides, asked for by that path.
//
// Ours also yields the "." and ".." of every directory, the others do not.
// `find` is a process of its own that prints nothing; `readdir` and `fts` are what
// the C library offers.
#include "QVROSDirectoryIterator.h"

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <fts.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>

#include "QVROSDirectoryIteratorTree.h"

namespace {

namespace fs = std::filesystem;

/// Times a walk of the tree, which returns how many regular files it has met, or
/// how many entries where it tells no more.
template <class Walk>
void timeWalk(benchmark::State& state, std::size_t expected, Walk walk) {
  const std::string& root = Tree::instance().path();
  for (auto _ : state) {
    if (walk(root) != expected) return state.SkipWithError("met another number of entries");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(expected));
}

std::size_t files() { return Tree::instance().files(); }
std::size_t filesAndDirectories() { return files() + Tree::instance().directories(); }

/// Ours: `visit` says whether to count the current entry.
template <class Visit>
void timeOwn(benchmark::State& state, std::size_t expected, Visit visit) {
  timeWalk(state, expected, [&](const std::string& root) {
    QVROSDirectoryIterator entry(root, QVROSDirectoryIterator::RECURSIVE);
    std::size_t count = 0;
    do {
      count += visit(entry);
    } while (entry++);
    return count;
  });
}

void ownWalk(benchmark::State& state) {
  const std::size_t dots = 2 * (Tree::instance().directories() + 1);
  timeOwn(state, filesAndDirectories() + dots, [](const auto&) { return true; });
}
BENCHMARK(ownWalk)->Name("QVROSDirectoryIterator/walk/" + Tree::size())->UseRealTime();

void ownPaths(benchmark::State& state) {
  const std::size_t dots = 2 * (Tree::instance().directories() + 1);
  timeOwn(state, filesAndDirectories() + dots, [](const auto& entry) {
    benchmark::DoNotOptimize(*entry);
    return true;
  });
}
BENCHMARK(ownPaths)->Name("QVROSDirectoryIterator/paths/" + Tree::size())->UseRealTime();

void ownStatus(benchmark::State& state) {
  timeOwn(state, files(), [](const auto& entry) { return (*entry).isRegularFile(); });
}
BENCHMARK(ownStatus)->Name("QVROSDirectoryIterator/status/" + Tree::size())->UseRealTime();

template <class Visit>
void timeStd(benchmark::State& state, Visit visit) {
  timeWalk(state, files(), [&](const std::string& root) {
    std::size_t count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root)) count += visit(entry);
    return count;
  });
}

void stdWalk(benchmark::State& state) {
  timeStd(state, [](const auto& entry) { return entry.is_regular_file(); });
}
BENCHMARK(stdWalk)->Name("std::filesystem/walk/" + Tree::size())->UseRealTime();

void stdPaths(benchmark::State& state) {
  timeStd(state, [](const auto& entry) {
    std::string text = entry.path().native();
    benchmark::DoNotOptimize(text);
    return entry.is_regular_file();
  });
}
BENCHMARK(stdPaths)->Name("std::filesystem/paths/" + Tree::size())->UseRealTime();

void stdStatus(benchmark::State& state) {
  timeStd(state, [](const auto& entry) { return fs::is_regular_file(entry.path()); });
}
BENCHMARK(stdStatus)->Name("std::filesystem/status/" + Tree::size())->UseRealTime();

template <class Visit>
void timeFts(benchmark::State& state, std::size_t expected, int options, Visit visit) {
  timeWalk(state, expected, [&](std::string root) {
    char* const roots[] = {root.data(), nullptr};
    FTS* const walk = fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR | options, nullptr);
    std::size_t count = 0;
    while (FTSENT* const entry = fts_read(walk)) count += visit(*entry);
    fts_close(walk);
    return count;
  });
}

void ftsWalk(benchmark::State& state) {
  timeFts(state, Tree::instance().directories() + 1, FTS_NOSTAT,
          [](const FTSENT& entry) { return entry.fts_info == FTS_D; });
}
BENCHMARK(ftsWalk)->Name("fts/walk/" + Tree::size())->UseRealTime();

void ftsPaths(benchmark::State& state) {
  timeFts(state, Tree::instance().directories() + 1, FTS_NOSTAT, [](const FTSENT& entry) {
    std::string text(entry.fts_path, entry.fts_pathlen);
    benchmark::DoNotOptimize(text);
    return entry.fts_info == FTS_D;
  });
}
BENCHMARK(ftsPaths)->Name("fts/paths/" + Tree::size())->UseRealTime();

void ftsStatus(benchmark::State& state) {
  timeFts(state, files(), 0, [](const FTSENT& entry) { return entry.fts_info == FTS_F; });
}
BENCHMARK(ftsStatus)->Name("fts/status/" + Tree::size())->UseRealTime();

bool isDots(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

/// Regular files at and below the directory; `visit` sees each entry's path.
template <class Visit>
std::size_t readAll(int descriptor, const std::string& path, Visit visit) {
  DIR* const directory = fdopendir(descriptor);
  std::size_t count = 0;
  while (const dirent* const entry = readdir(directory)) {
    if (isDots(entry->d_name)) continue;
    visit(path, entry->d_name);
    if (entry->d_type == DT_DIR) {
      const int inner = openat(descriptor, entry->d_name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      count += readAll(inner, path + '/' + entry->d_name, visit);
    }
    count += entry->d_type == DT_REG;
  }
  closedir(directory);
  return count;
}

template <class Visit>
void timeReaddir(benchmark::State& state, Visit visit) {
  timeWalk(state, files(), [&](const std::string& root) {
    return readAll(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), root, visit);
  });
}

void readdirWalk(benchmark::State& state) {
  timeReaddir(state, [](const std::string&, const char*) {});
}
BENCHMARK(readdirWalk)->Name("readdir/walk/" + Tree::size())->UseRealTime();

void readdirPaths(benchmark::State& state) {
  timeReaddir(state, [](const std::string& path, const char* name) {
    std::string text = path + '/' + name;
    benchmark::DoNotOptimize(text);
  });
}
BENCHMARK(readdirPaths)->Name("readdir/paths/" + Tree::size())->UseRealTime();

void findWalk(benchmark::State& state) {
  timeWalk(state, 0, [](std::string root) {
    char* const arguments[] = {const_cast<char*>("find"),
                               root.data(),
                               const_cast<char*>("-type"),
                               const_cast<char*>("f"),
                               const_cast<char*>("-printf"),
                               const_cast<char*>(""),
                               nullptr};
    pid_t child;
    int status = -1;
    if (posix_spawnp(&child, "find", nullptr, nullptr, arguments, environ) == 0) {
      waitpid(child, &status, 0);
    }
    return static_cast<std::size_t>(status);
  });
}
BENCHMARK(findWalk)->Name("find/walk/" + Tree::size())->UseRealTime();

}  // namespace
