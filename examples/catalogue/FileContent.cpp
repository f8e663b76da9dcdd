#include "FileContent.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>

#include "QVREIOError.h"
#include "SystemFailure.h"

namespace catalogue {
namespace {

constexpr char kSource[] = "examples/catalogue/FileContent";

// Small enough for the processor's cache and for a thread's stack.
constexpr std::size_t kPieceSize = 65536;
constexpr std::uint64_t kStatusBlock = 512;  // bytes, whatever the file system's blocks have

[[noreturn]] void throwLastError(int line) {
  throwSystemFailure(u"Cannot read the content of the file: %1", {errno, std::generic_category()},
                     kSource, line);
}

/// A file on its way to be read, from the beginning to the end.
class Reading {
 public:
  Reading(const std::string& path, std::uint64_t size, std::span<Checksum* const> checksums);
  ~Reading() { close(descriptor_); }

  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  void run(const PieceDone& done);

 private:
  void requireRegularFile();
  void passHole();
  std::uint64_t endOfData() const;
  void readPiece(std::uint64_t end, const PieceDone& done);
  void passHoleTo(std::uint64_t end);

  const int descriptor_;
  bool passesHoles_ = false;
  std::uint64_t at_ = 0;
  std::uint64_t end_;
  const std::span<Checksum* const> checksums_;
  std::array<char, kPieceSize> piece_;
};

// Whatever has the name by now: a pipe without a writer is opened at once, a link not at all.
Reading::Reading(const std::string& path, std::uint64_t size, std::span<Checksum* const> checksums)
    : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK)),
      end_(size),
      checksums_(checksums) {
  if (descriptor_ == -1) throwLastError(__LINE__);
}

void Reading::run(const PieceDone& done) {
  requireRegularFile();
  while (at_ < end_) {
    if (passesHoles_) passHole();
    const std::uint64_t end = passesHoles_ ? endOfData() : end_;
    while (at_ < end && at_ < end_) readPiece(end, done);
  }
}

void Reading::requireRegularFile() {
  struct stat status {};
  if (fstat(descriptor_, &status) != 0) throwLastError(__LINE__);
  if (!S_ISREG(status.st_mode)) {
    throw QVREIOError(u"Something else has the name of the file now", kSource, __LINE__);
  }
  const bool hasHoles = static_cast<std::uint64_t>(status.st_blocks) * kStatusBlock < end_;
  passesHoles_ = hasHoles && std::all_of(checksums_.begin(), checksums_.end(),
                                         [](const Checksum* c) { return c->hasQuickZeros(); });
}

/// Passes the hole that begins here, if one does.
void Reading::passHole() {
  const off_t data = lseek(descriptor_, static_cast<off_t>(at_), SEEK_DATA);
  if (data != -1) {
    passHoleTo(static_cast<std::uint64_t>(data));
  } else if (errno == ENXIO) {  // no data is left
    const off_t endOfFile = lseek(descriptor_, 0, SEEK_END);
    if (endOfFile != -1) passHoleTo(static_cast<std::uint64_t>(endOfFile));
    end_ = at_;
  } else {  // the file system does not tell
    passesHoles_ = false;
  }
}

void Reading::passHoleTo(std::uint64_t end) {
  const std::uint64_t to = std::clamp(end, at_, end_);
  for (Checksum* checksum : checksums_) checksum->addZeros(to - at_);
  at_ = to;
}

std::uint64_t Reading::endOfData() const {
  const off_t hole = lseek(descriptor_, static_cast<off_t>(at_), SEEK_HOLE);
  return hole == -1 ? end_ : std::min(static_cast<std::uint64_t>(hole), end_);
}

void Reading::readPiece(std::uint64_t end, const PieceDone& done) {
  const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(end - at_, kPieceSize));
  const ssize_t read = pread(descriptor_, piece_.data(), size, static_cast<off_t>(at_));
  if (read == -1 && errno == EINTR) return;
  if (read == -1) throwLastError(__LINE__);
  const auto count = static_cast<std::size_t>(read);
  for (Checksum* checksum : checksums_) checksum->add({piece_.data(), count});
  at_ += count;
  if (count == 0 || !done(count)) end_ = at_;
}

}  // namespace

void addContent(const std::string& path, std::uint64_t size, std::span<Checksum* const> checksums,
                const PieceDone& done) {
  Reading(path, size, checksums).run(done);
}

}  // namespace catalogue
