// The packaged libraries beside QVROSPath.
#include <Poco/Path.h>
#include <benchmark/benchmark.h>

#include <QDir>
#include <QFileInfo>
#include <QString>
#include <boost/filesystem/path.hpp>
#include <string>

#include "QVROSPathText.h"

namespace {

void boostBasename(benchmark::State& state) {
  boost::filesystem::path path;
  for (auto _ : state) {
    path = kPathText;
    benchmark::DoNotOptimize(path.filename());
  }
}
BENCHMARK(boostBasename)->Name("Boost.Filesystem/basename/60");

void boostDirname(benchmark::State& state) {
  boost::filesystem::path path;
  for (auto _ : state) {
    path = kPathText;
    benchmark::DoNotOptimize(path.parent_path());
  }
}
BENCHMARK(boostDirname)->Name("Boost.Filesystem/dirname/60");

void boostAppendPath(benchmark::State& state) {
  boost::filesystem::path path;
  for (auto _ : state) {
    path = kPathText;
    path /= kPartText;
    benchmark::DoNotOptimize(path);
  }
}
BENCHMARK(boostAppendPath)->Name("Boost.Filesystem/appendPath/60");

void qtBasename(benchmark::State& state) {
  const QString text = QString::fromStdString(kPathText);
  QFileInfo path;
  for (auto _ : state) {
    path.setFile(text);
    benchmark::DoNotOptimize(path.fileName());
  }
}
BENCHMARK(qtBasename)->Name("QFileInfo/basename/60");

void qtDirname(benchmark::State& state) {
  const QString text = QString::fromStdString(kPathText);
  QFileInfo path;
  for (auto _ : state) {
    path.setFile(text);
    benchmark::DoNotOptimize(path.path());
  }
}
BENCHMARK(qtDirname)->Name("QFileInfo/dirname/60");

void qtAppendPath(benchmark::State& state) {
  const QString text = QString::fromStdString(kPathText);
  const QString part = QString::fromStdString(kPartText);
  QDir path;
  for (auto _ : state) {
    path.setPath(text);
    benchmark::DoNotOptimize(path.filePath(part));
  }
}
BENCHMARK(qtAppendPath)->Name("QDir/appendPath/60");

void pocoBasename(benchmark::State& state) {
  Poco::Path path;
  for (auto _ : state) {
    path = kPathText;
    benchmark::DoNotOptimize(std::string(path.getFileName()));
  }
}
BENCHMARK(pocoBasename)->Name("Poco::Path/basename/60");

void pocoDirname(benchmark::State& state) {
  Poco::Path path;
  for (auto _ : state) {
    path = kPathText;
    benchmark::DoNotOptimize(path.parent().toString());
  }
}
BENCHMARK(pocoDirname)->Name("Poco::Path/dirname/60");

void pocoAppendPath(benchmark::State& state) {
  Poco::Path path;
  for (auto _ : state) {
    path = kPathText;
    path.append(kPartText);
    benchmark::DoNotOptimize(path);
  }
}
BENCHMARK(pocoAppendPath)->Name("Poco::Path/appendPath/60");

}  // namespace
