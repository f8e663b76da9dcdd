// The files that the copies are timed on.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

/// Files of one size to copy into a directory beside them, made on first use and
/// gone when the program ends. They are in the system's caches.
class CopyFiles {
 public:
  /// One file of 512 MiB.
  static const CopyFiles& large() {
    static const CopyFiles files(1, std::size_t{isSmall() ? 1u : 512u} << 20);
    return files;
  }
  /// 2,000 files of 4 KiB.
  static const CopyFiles& small() {
    static const CopyFiles files(isSmall() ? 20 : 2'000, 4'096);
    return files;
  }

  const std::vector<std::string>& sources() const { return sources_; }
  const std::vector<std::string>& targets() const { return targets_; }
  const std::string& targetDirectory() const { return targetDirectory_; }
  std::size_t bytes() const { return sources_.size() * size_; }

  void removeTargets() const {
    for (const std::string& target : targets_) std::filesystem::remove(target);
  }

 private:
  static bool isSmall() { return std::getenv("QVR_BENCHMARK_SMALL") != nullptr; }

  CopyFiles(int count, std::size_t size)
      : directory_(std::filesystem::temp_directory_path() / "qvr-copy-XXXXXX"), size_(size) {
    if (mkdtemp(directory_.data()) == nullptr) throw std::runtime_error("no temporary directory");
    targetDirectory_ = directory_ + "/copies";
    std::filesystem::create_directory(targetDirectory_);
    for (int i = 0; i < count; ++i) makeSource("file-" + std::to_string(i));
  }
  ~CopyFiles() { std::filesystem::remove_all(directory_); }

  CopyFiles(const CopyFiles&) = delete;
  CopyFiles& operator=(const CopyFiles&) = delete;

  void makeSource(const std::string& name) {
    constexpr std::size_t kBlock = 4'096;
    const std::string block(kBlock, 'x');
    sources_.push_back(directory_ + '/' + name);
    targets_.push_back(targetDirectory_ + '/' + name);
    std::ofstream file(sources_.back(), std::ios::binary);
    for (std::size_t written = 0; written < size_; written += kBlock) file << block;
  }

  std::string directory_;
  std::string targetDirectory_;
  const std::size_t size_;
  std::vector<std::string> sources_;
  std::vector<std::string> targets_;
};

/// Times `copyAll`, which copies all of them to where nothing is.
template <class CopyAll>
void timeCopies(benchmark::State& state, const CopyFiles& files, CopyAll copyAll) {
  using Clock = std::chrono::steady_clock;
  for (auto _ : state) {
    const Clock::time_point begin = Clock::now();
    copyAll(files);
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
    files.removeTargets();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(files.bytes()));
}

/// Times one subject's copies of both kinds of files.
template <class CopyAll>
bool registerCopies(const std::string& subject, CopyAll copyAll) {
  const auto add = [&](const char* operation, const CopyFiles& (*files)()) {
    benchmark::RegisterBenchmark(
        (subject + operation).c_str(),
        [=](benchmark::State& state) { timeCopies(state, files(), copyAll); })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  };
  add("/copy/512MiB", &CopyFiles::large);
  add("/copy/2000x4KiB", &CopyFiles::small);
  return true;
}

/// As registerCopies(), from a function that copies one file.
template <class Copy>
bool registerCopiesOfEach(const std::string& subject, Copy copy) {
  return registerCopies(subject, [=](const CopyFiles& files) {
    for (std::size_t i = 0; i < files.sources().size(); ++i) {
      copy(files.sources()[i], files.targets()[i]);
    }
  });
}
