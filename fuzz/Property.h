// How a fuzzer says that a property does not hold.
#pragma once

#include <concepts>
#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// Values as a finding shows them: what cannot be printed is escaped.
std::string shown(std::string_view text);
std::string shown(std::u16string_view text);
std::string shown(const std::vector<std::string>& texts);
template <std::integral T>
std::string shown(T number) {
  return std::to_string(number);
}

/// What an operation gave, or the text of the exception that it threw.
template <class T>
struct Outcome {
  std::string failure;
  T value{};

  bool operator==(const Outcome&) const = default;
};

template <class T>
std::string shown(const Outcome<T>& outcome) {
  return outcome.failure.empty() ? shown(outcome.value) : "exception " + shown(outcome.failure);
}

template <class Action>
auto outcomeOf(Action action) -> Outcome<std::invoke_result_t<Action>> {
  try {
    return {{}, action()};
  } catch (const std::exception& failure) {
    return {failure.what(), {}};
  }
}

/// Prints both values and ends the program, which keeps the input as a finding.
[[noreturn]] void reportFinding(const char* what, const std::string& actual,
                                const std::string& expected);

template <class T>
void expectEqual(const char* what, const T& actual, const std::type_identity_t<T>& expected) {
  if (!(actual == expected)) reportFinding(what, shown(actual), shown(expected));
}

inline void expect(const char* what, bool holds) { expectEqual(what, holds, true); }

}  // namespace fuzz
