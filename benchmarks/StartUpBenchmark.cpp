// What it costs a program to be linked with the library: starting, running and ending one
// that does nothing, and the memory that it takes.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

extern char** environ;

namespace {

/// @return whether the program ran and succeeded.
bool run(const std::string& program) {
  char* arguments[] = {const_cast<char*>(program.c_str()), nullptr};
  pid_t child = 0;
  if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, environ) != 0) return false;
  int status = 0;
  return waitpid(child, &status, 0) == child && status == 0;
}

double residentBytes(const std::string& program) {
  std::FILE* const answer = popen((program + " memory").c_str(), "r");
  if (answer == nullptr) return 0;
  double bytes = 0;
  if (std::fscanf(answer, "%lf", &bytes) != 1) bytes = 0;
  pclose(answer);
  return bytes;
}

void startUp(benchmark::State& state, const std::string& program) {
  for (auto _ : state) {
    if (!run(program)) state.SkipWithError("the program does not run");
  }
  state.counters["resident_KiB"] = residentBytes(program) / 1024;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string here(argv[0], std::string(argv[0]).rfind('/') + 1);
  const struct {
    const char* subject;
    const char* program;
  } programs[] = {
      {"QVRSystem", "StartUpQVRSystem"},
      {"bare C++", "StartUpBare"},
      {"three empty libraries", "StartUpThreeEmpty"},
#ifdef QVR_BENCHMARK_PEERS
      {"Poco", "StartUpPoco"},
      {"Qt", "StartUpQt"},
#endif
  };
  for (const auto& [subject, program] : programs) {
    benchmark::RegisterBenchmark((std::string(subject) + "/startUp").c_str(), startUp,
                                 here + program)
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
