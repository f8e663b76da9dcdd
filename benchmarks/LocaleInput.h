// The texts that locales and their peers convert: 64 KiB of UTF-8 each, and two
// of 24 characters.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <random>
#include <string>

namespace locale_input {

inline constexpr std::size_t kSize = 65536;

inline std::string repeated(const char* const (&words)[8], const char* separator) {
  std::mt19937 random(1);
  std::string text;
  while (text.size() < kSize) {
    text += words[random() % 8];
    if (random() % 4 != 0) text += separator;
  }
  // Back to the head of a character.
  std::size_t size = kSize;
  while ((text[size] & 0xC0) == 0x80) --size;
  text.resize(size);
  return text;
}

inline std::string ascii() {
  return repeated({"surface", "of", "the", "assembly", "is", "outside", "its", "tolerance"}, " ");
}

inline std::string european() {
  return repeated({"Fläche", "größer", "très", "modèle", "wysokość", "części", "výkres", "the"},
                  " ");
}

inline std::string cjk() {
  return repeated({"曲面", "装配", "公差", "検査", "図面を", "確認する", "的", "모델링"}, "、");
}

/// Registers one operation for all texts.
template <class Function>
void add(const char* subjectAndOperation, Function function) {
  // Static: the benchmarks refer to the texts.
  static const struct {
    const char* size;
    const std::string text;
  } inputs[] = {{"ascii", ascii()},
                {"european", european()},
                {"cjk", cjk()},
                {"short", "Item 4711 does not exist"},
                {"shortEuropean", "Bauteil 471 ist ungültig"}};
  for (const auto& input : inputs) {
    const std::string name = std::string(subjectAndOperation) + '/' + input.size;
    benchmark::RegisterBenchmark(name.c_str(), function, input.text);
  }
}

}  // namespace locale_input
