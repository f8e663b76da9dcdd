#include "scheduler/Trace.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace qvr::scheduler {

namespace {

const char* nameOf(Operation operation) {
  switch (operation) {
    case Operation::Step:
      return "step";
    case Operation::Load:
      return "load";
    case Operation::Store:
      return "store";
    case Operation::Exchange:
      return "exchange";
    case Operation::CompareExchange:
      return "compare and exchange";
    case Operation::Add:
      return "add";
    case Operation::And:
      return "and";
    case Operation::Or:
      return "or";
    case Operation::Wait:
      return "wait";
    case Operation::Wake:
      return "wake";
    case Operation::Yield:
      return "yield";
    case Operation::TakeMutex:
      return "take mutex";
    case Operation::GiveMutexBack:
      return "give mutex back";
    case Operation::CloseMutex:
      return "close mutex";
  }
  return "?";
}

/// Small numbers in decimal, others in hexadecimal.
std::string number(std::uint64_t value) {
  std::ostringstream out;
  if (value < 10) {
    out << value;
  } else {
    out << "0x" << std::hex << value;
  }
  return out.str();
}

}  // namespace

std::string Trace::line(std::size_t index, const char* thread, const std::string& word) const {
  const Step& step = steps_[index];
  std::ostringstream out;
  out << std::setw(5) << index + 1 << "  " << std::left << std::setw(12) << thread << ' '
      << nameOf(step.operation);
  if (step.word != nullptr) out << ' ' << word;
  if (step.noted) out << ": " << number(step.before);
  if (step.noted && step.after != step.before) out << " -> " << number(step.after);
  out << '\n';
  return out.str();
}

std::vector<const void*> Trace::words() const {
  std::vector<const void*> result;
  for (const Step& step : steps_) {
    if (step.word == nullptr) continue;
    if (std::find(result.begin(), result.end(), step.word) == result.end()) {
      result.push_back(step.word);
    }
  }
  return result;
}

}  // namespace qvr::scheduler
