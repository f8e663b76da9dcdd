// What the message benchmarks write: seeded numbers, texts of 20 characters and
// values of six digits.
#pragma once

#include <array>
#include <cstddef>
#include <random>
#include <string>

template <class Text>
struct MessageInput {
  int number;
  Text text;
  double value;
};

/// Runs through the same inputs again and again.
template <class Text>
class MessageInputs {
 public:
  MessageInputs() {
    std::mt19937 random(20);
    for (auto& input : inputs_) {
      input.number = static_cast<int>(random() % 1000000);
      for (int i = 0; i < 20; ++i) {
        input.text += static_cast<typename Text::value_type>('a' + random() % 26);
      }
      input.value = static_cast<double>(random() % 1000000) / 1000;
    }
  }

  const MessageInput<Text>& next() { return inputs_[position_++ % inputs_.size()]; }

 private:
  std::array<MessageInput<Text>, 256> inputs_;
  std::size_t position_ = 0;
};
