// What copying a large file and many small ones costs.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "QVROSPath.h"
#include "QVROSPathCopyFiles.h"

namespace {

[[maybe_unused]] const bool own =
    registerCopiesOfEach("QVROSPath", [](const std::string& from, const std::string& to) {
      QVROSPath(from).copy(to, QVROSPath::FAIL_IF_EXISTS);
    });

[[maybe_unused]] const bool standard = registerCopiesOfEach(
    "std::filesystem",
    [](const std::string& from, const std::string& to) { std::filesystem::copy_file(from, to); });

/// The limit: nothing but the calls that pass the bytes on.
[[maybe_unused]] const bool bare =
    registerCopiesOfEach("copy_file_range", [](const std::string& from, const std::string& to) {
      const int source = open(from.c_str(), O_RDONLY | O_CLOEXEC);
      const int target = open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
      constexpr std::size_t kAllBytes = 0x7fffffff;
      ssize_t copied;
      do {
        copied = copy_file_range(source, nullptr, target, nullptr, kAllBytes, 0);
      } while (copied > 0);
      if (copied < 0) std::abort();  // a file system that does not know the call
      close(source);
      close(target);
    });

/// One child process for all files.
[[maybe_unused]] const bool command = registerCopies("cp", [](const CopyFiles& files) {
  std::vector<std::string> words = {"cp", "-t", files.targetDirectory()};
  words.insert(words.end(), files.sources().begin(), files.sources().end());
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  pid_t child;
  int status = 1;
  if (posix_spawnp(&child, "cp", nullptr, nullptr, arguments.data(), environ) == 0) {
    waitpid(child, &status, 0);
  }
  if (status != 0) std::abort();
});

}  // namespace
