// Texts are read as sscanf() reads them, and identifiers written as printf() writes them.
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Property.h"
#include "QVREInvalidFormat.h"
#include "QVRLocale.h"
#include "QVRUUID.h"

namespace {

using fuzz::expect;
using fuzz::expectEqual;
using fuzz::Outcome;

constexpr std::size_t kTextSize = 36;
constexpr unsigned kFirstReserved = 0xE0;

std::string written(const QVRGuid& guid) {
  char text[kTextSize + 1];
  const std::uint8_t* const d = guid.Data4;
  std::snprintf(text, sizeof text, "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                static_cast<unsigned long>(guid.Data1), guid.Data2, guid.Data3, d[0], d[1], d[2],
                d[3], d[4], d[5], d[6], d[7]);
  return text;
}

/// What is to become of a text, in canonical form.
Outcome<std::string> expectedOf(const char* text) {
  if (*text == '\0') return {{}, "00000000-0000-0000-0000-000000000000"};
  unsigned long first;
  unsigned n[10];
  const bool isRead = std::strlen(text) == kTextSize &&
                      std::sscanf(text, "%8lx-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x", &first, n, n + 1,
                                  n + 2, n + 3, n + 4, n + 5, n + 6, n + 7, n + 8, n + 9) == 11;
  if (!isRead) return {"Invalid UUID string - %1", {}};
  QVRGuid guid = {static_cast<std::uint32_t>(first),
                  static_cast<std::uint16_t>(n[0]),
                  static_cast<std::uint16_t>(n[1]),
                  {}};
  for (int i = 0; i < 8; ++i) guid.Data4[i] = static_cast<std::uint8_t>(n[2 + i]);
  if (guid.Data4[0] >= kFirstReserved) return {"Invalid UUID version - %1", {}};
  return {{}, written(guid)};
}

/// The format of the message of which a text was the argument.
std::string refusal(const QVREInvalidFormat& failure, const std::string& argument) {
  const std::u16string format = failure.getFormatStr();
  QVRMessage same(format.c_str(), nullptr, 0);
  same << argument;
  const auto scribe = [](const QVRMessage& message) {
    return fuzz::outcomeOf([&] { return message.scribe(QVRLocale::global()); });
  };
  expectEqual("message", scribe(failure), scribe(same));
  return {format.begin(), format.end()};
}

Outcome<std::string> actualOf(const char* text) {
  try {
    return {{}, QVRUUID(text).toString()};
  } catch (const QVREInvalidFormat& failure) {
    return {refusal(failure, text), {}};
  }
}

void checkText(const std::string& given) {
  // In storage of just that size: the sanitizer sees every byte too far.
  std::vector<char> text(given.c_str(), given.c_str() + std::strlen(given.c_str()) + 1);
  const Outcome<std::string> actual = actualOf(text.data());
  expectEqual("text read", actual, expectedOf(text.data()));
  if (!actual.failure.empty()) return;
  expectEqual("text read back", QVRUUID(actual.value.c_str()).toString(), actual.value);
  std::string upper = actual.value;
  for (char& c : upper) c = static_cast<char>(std::toupper(c));
  expectEqual("upper case read", QVRUUID(upper.c_str()).toString(), actual.value);
}

/// By what the order goes, as two numbers.
struct Key {
  explicit Key(const QVRGuid& guid)
      : high((std::uint64_t{guid.Data1} << 32) + (std::uint64_t{guid.Data2} << 16) + guid.Data3) {
    for (int i = 7; i >= 0; --i) low = low * 256 + guid.Data4[i];
  }

  auto operator<=>(const Key&) const = default;

  std::uint64_t high;
  std::uint64_t low = 0;
};

void checkOrder(const QVRGuid& left, const QVRGuid& right) {
  if (left.Data4[0] >= kFirstReserved || right.Data4[0] >= kFirstReserved) return;
  const QVRUUID a = left;
  const QVRUUID b = right;
  const Key keyA(left);
  const Key keyB(right);
  expectEqual("order", a.compareTo(b), keyA < keyB ? -1 : keyA > keyB ? 1 : 0);
  expectEqual("==", a == b, keyA == keyB);
  expectEqual("!=", a != b, keyA != keyB);
  expectEqual("<", a < b, keyA < keyB);
  expectEqual("<=", a <= b, keyA <= keyB);
  expectEqual(">", a > b, keyA > keyB);
  expectEqual(">=", a >= b, keyA >= keyB);
}

std::string refusalOf(const QVRGuid& guid, QVRUUID& target) {
  try {
    target = guid;
  } catch (const QVREInvalidFormat& failure) {
    const std::u16string format = failure.getFormatStr();
    return {format.begin(), format.end()};
  }
  return {};
}

void checkGuid(const QVRGuid& guid) {
  const bool isReserved = guid.Data4[0] >= kFirstReserved;
  QVRUUID uuid = QVRUUID::Nil;
  expectEqual("refusal", refusalOf(guid, uuid), isReserved ? "Invalid UUID version" : "");
  expectEqual("text written", uuid.toString(), written(guid));
  const QVRGuid kept = uuid;
  expect("value kept", std::memcmp(&kept, &guid, sizeof guid) == 0);
  expectEqual("is nil", uuid.isNil(), Key(guid) == Key(QVRGuid()));
  checkText(written(guid));
}

void checkNeighbours(const QVRGuid& guid, const QVRGuid& other) {
  checkOrder(guid, other);
  for (std::size_t i = 0; i < sizeof guid; ++i) {
    QVRGuid neighbour = guid;
    std::memcpy(reinterpret_cast<char*>(&neighbour) + i, reinterpret_cast<const char*>(&other) + i,
                1);
    checkOrder(guid, neighbour);
    checkOrder(neighbour, guid);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  checkText(text);
  QVRGuid guids[2] = {};
  std::memcpy(guids, data, std::min(size, sizeof guids));
  checkGuid(guids[0]);
  checkNeighbours(guids[0], guids[1]);
  // Most sizes are refused at once: the text counts in the right one too.
  text.resize(kTextSize, '0');
  checkText(text);
  return 0;
}
