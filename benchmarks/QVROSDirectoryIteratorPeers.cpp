// Walks of packaged libraries; see QVROSDirectoryIteratorBenchmark.cpp for what
// is timed.
#include <benchmark/benchmark.h>

#include <QDirIterator>
#include <QFileInfo>
#include <boost/filesystem.hpp>
#include <cstddef>
#include <string>

#include "QVROSDirectoryIteratorTree.h"

namespace {

template <class Visit>
void timeQt(benchmark::State& state, Visit visit) {
  const Tree& tree = Tree::instance();
  const QString root = QString::fromStdString(tree.path());
  for (auto _ : state) {
    QDirIterator entry(root, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    std::size_t count = 0;
    while (entry.hasNext()) {
      entry.next();
      count += visit(entry);
    }
    if (count != tree.files()) return state.SkipWithError("met another number of files");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(tree.files()));
}

void qtWalk(benchmark::State& state) {
  timeQt(state, [](const QDirIterator& entry) { return entry.fileInfo().isFile(); });
}
BENCHMARK(qtWalk)->Name("QDirIterator/walk/" + Tree::size())->UseRealTime();

void qtPaths(benchmark::State& state) {
  timeQt(state, [](const QDirIterator& entry) {
    benchmark::DoNotOptimize(entry.filePath());
    return entry.fileInfo().isFile();
  });
}
BENCHMARK(qtPaths)->Name("QDirIterator/paths/" + Tree::size())->UseRealTime();

void qtStatus(benchmark::State& state) {
  timeQt(state, [](const QDirIterator& entry) { return QFileInfo(entry.filePath()).isFile(); });
}
BENCHMARK(qtStatus)->Name("QDirIterator/status/" + Tree::size())->UseRealTime();

template <class Visit>
void timeBoost(benchmark::State& state, Visit visit) {
  const Tree& tree = Tree::instance();
  for (auto _ : state) {
    std::size_t count = 0;
    for (const auto& entry : boost::filesystem::recursive_directory_iterator(tree.path())) {
      count += visit(entry);
    }
    if (count != tree.files()) return state.SkipWithError("met another number of files");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(tree.files()));
}

void boostWalk(benchmark::State& state) {
  timeBoost(state, [](const auto& entry) {
    return entry.status().type() == boost::filesystem::regular_file;
  });
}
BENCHMARK(boostWalk)->Name("Boost.Filesystem/walk/" + Tree::size())->UseRealTime();

void boostPaths(benchmark::State& state) {
  timeBoost(state, [](const auto& entry) {
    std::string text = entry.path().native();
    benchmark::DoNotOptimize(text);
    return entry.status().type() == boost::filesystem::regular_file;
  });
}
BENCHMARK(boostPaths)->Name("Boost.Filesystem/paths/" + Tree::size())->UseRealTime();

void boostStatus(benchmark::State& state) {
  timeBoost(state,
            [](const auto& entry) { return boost::filesystem::is_regular_file(entry.path()); });
}
BENCHMARK(boostStatus)->Name("Boost.Filesystem/status/" + Tree::size())->UseRealTime();

}  // namespace
