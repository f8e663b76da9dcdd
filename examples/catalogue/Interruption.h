// The user's wish to have what there is so far.
#pragma once

namespace catalogue {

/// While it lives, the first interrupt signal of the process is only taken note of, and the
/// second one ends the process, as the first does otherwise. One object at a time.
class Interruption {
 public:
  Interruption();
  ~Interruption();

  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// Whether there was one. Any thread may ask, as often as it likes.
  bool isRequested() const;
};

}  // namespace catalogue
