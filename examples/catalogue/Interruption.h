// The user's wish to have what there is so far.
#pragma once

namespace catalogue {

/// Once it is made, and to the end of the process, the first interrupt signal is only taken note
/// of, and the second one ends the process, as the first does otherwise. A process has one object.
class Interruption {
 public:
  Interruption();

  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// Whether there was one. Any thread may ask, as often as it likes.
  bool isRequested() const;
};

}  // namespace catalogue
