#include "QVRUUID.h"

#include <array>
#include <bit>
#include <cstring>
#include <ostream>

#include "QVRAssert.h"
#include "QVREInvalidFormat.h"
#include "QVRRandomReserve.h"

namespace {

constexpr char kSource[] = "QVRSystem/QVRUUIDMD.m/src/QVRUUID";
constexpr int kGeneratorLine = 777;

constexpr std::uint8_t kFirstReservedVariant = 0xE0;
constexpr std::uint16_t kVersionMask = 0xF000;
constexpr std::uint16_t kRandomVersion = 0x4000;
constexpr std::uint8_t kVariantMask = 0xC0;
constexpr std::uint8_t kRfcVariant = 0x80;

constexpr std::size_t kTextSize = 36;
constexpr std::size_t kHyphens[] = {8, 13, 18, 23};

// A text is four numbers of eight digits; where it has the two halves of each.
constexpr std::size_t kNumberCount = 4;
constexpr std::size_t kHalves[kNumberCount][2] = {{0, 4}, {9, 14}, {19, 24}, {28, 32}};

using Numbers = std::array<std::uint32_t, kNumberCount>;

// Times a number below 256, that number in each byte.
constexpr std::uint64_t kEachByte = 0x0101010101010101;

/// Between a number and its bytes, the most significant one first.
std::uint32_t swapIfLittle(std::uint32_t number) {
  return std::endian::native == std::endian::little ? __builtin_bswap32(number) : number;
}

std::uint32_t load(const void* bytes) {
  std::uint32_t number;
  std::memcpy(&number, bytes, sizeof number);
  return swapIfLittle(number);
}

void store(std::uint32_t number, void* bytes) {
  number = swapIfLittle(number);
  std::memcpy(bytes, &number, sizeof number);
}

Numbers numbersOf(const QVRGuid& guid) {
  return {guid.Data1, std::uint32_t{guid.Data2} << 16 | guid.Data3, load(guid.Data4),
          load(guid.Data4 + 4)};
}

QVRGuid guidOf(const Numbers& numbers) {
  QVRGuid guid;
  guid.Data1 = numbers[0];
  guid.Data2 = static_cast<std::uint16_t>(numbers[1] >> 16);
  guid.Data3 = static_cast<std::uint16_t>(numbers[1]);
  store(numbers[2], guid.Data4);
  store(numbers[3], guid.Data4 + 4);
  return guid;
}

/// The digits, in lower case, of eight numbers below 16, each in its byte.
constexpr std::uint64_t digitsOf(std::uint64_t values) {
  const std::uint64_t areLetters = (values + 6 * kEachByte) >> 4 & kEachByte;
  return values + '0' * kEachByte + ('a' - '0' - 10) * areLetters;
}

/// Reads eight digits of either case. @return whether they are.
bool readDigits(std::uint64_t text, std::uint32_t& number) {
  const std::uint64_t lowerCase = text | (text >> 1 & 0x20 * kEachByte);
  const std::uint64_t areLetters = text >> 6 & kEachByte;
  std::uint64_t values = (text & 0x0F * kEachByte) + 9 * areLetters;
  const bool areDigits = lowerCase == digitsOf(values) && (values & 0x10 * kEachByte) == 0;
  values = (values | values >> 4) & 0x00FF00FF00FF00FF;
  values = (values | values >> 8) & 0x0000FFFF0000FFFF;
  number = static_cast<std::uint32_t>(values | values >> 16);
  return areDigits;
}

std::uint64_t writeDigits(std::uint32_t number) {
  std::uint64_t values = number;
  values = (values | values << 16) & 0x0000FFFF0000FFFF;
  values = (values | values << 8) & 0x00FF00FF00FF00FF;
  return digitsOf((values | values << 4) & 0x0F * kEachByte);
}

/// Reads a text with a digit at each place and hyphens between, as nearly all are.
bool readPlain(const char* text, QVRGuid& guid) {
  Numbers numbers;
  bool isPlain = true;
  for (std::size_t i = 0; i < kNumberCount; ++i) {
    const std::uint64_t high = load(text + kHalves[i][0]);
    isPlain &= readDigits(high << 32 | load(text + kHalves[i][1]), numbers[i]);
  }
  for (const std::size_t place : kHyphens) isPlain &= text[place] == '-';
  if (isPlain) guid = guidOf(numbers);
  return isPlain;
}

constexpr std::uint32_t kNoDigit = 16;

std::uint32_t digitOf(char c) {
  if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
  const int lowerCase = c | 0x20;
  if (lowerCase < 'a' || lowerCase > 'f') return kNoDigit;
  return static_cast<std::uint32_t>(lowerCase - 'a' + 10);
}

/// Reads numbers from a text as sscanf() does, the same in every locale.
class Scanner {
 public:
  explicit Scanner(const char* text) : next_(text) {}

  /// What "%<width>x" reads, its low 32 bits; a "0x" without digits is 0.
  bool readNumber(std::size_t width, std::uint32_t& number) {
    while (isBlank()) ++next_;
    const bool isNegative = *next_ == '-';
    if (isNegative || *next_ == '+') step(width);
    const char* const begin = next_;
    if (*next_ == '0') {
      step(width);
      if (width != 0 && (*next_ == 'x' || *next_ == 'X')) step(width);
    }
    number = 0;
    for (; width != 0 && digitOf(*next_) != kNoDigit; step(width)) {
      number = number << 4 | digitOf(*next_);
    }
    if (isNegative) number = 0 - number;
    return next_ != begin;
  }

  bool readHyphen() { return *next_++ == '-'; }

 private:
  bool isBlank() const { return *next_ == ' ' || (*next_ >= '\t' && *next_ <= '\r'); }

  void step(std::size_t& width) {
    ++next_;
    --width;
  }

  const char* next_;
};

/// Reads what sscanf() takes for the numbers of an identifier.
bool readLeniently(const char* text, QVRGuid& guid) {
  constexpr struct {
    std::size_t width;
    bool isBehindHyphen;
  } kFields[] = {{8, false}, {4, true},  {4, true},  {2, true},  {2, false}, {2, true},
                 {2, false}, {2, false}, {2, false}, {2, false}, {2, false}};
  constexpr std::size_t kLeadingFields = 3;
  std::uint32_t numbers[std::size(kFields)];
  Scanner scanner(text);
  for (std::size_t i = 0; i < std::size(kFields); ++i) {
    if (kFields[i].isBehindHyphen && !scanner.readHyphen()) return false;
    if (!scanner.readNumber(kFields[i].width, numbers[i])) return false;
  }
  guid.Data1 = numbers[0];
  guid.Data2 = static_cast<std::uint16_t>(numbers[1]);
  guid.Data3 = static_cast<std::uint16_t>(numbers[2]);
  for (std::size_t i = 0; i < std::size(guid.Data4); ++i) {
    guid.Data4[i] = static_cast<std::uint8_t>(numbers[kLeadingFields + i]);
  }
  return true;
}

bool read(const char* text, QVRGuid& guid) {
  return std::strlen(text) == kTextSize && (readPlain(text, guid) || readLeniently(text, guid));
}

[[noreturn]] void refuse(const wchar16* format, const char* text, int line) {
  QVREInvalidFormat failure(format, kSource, line);
  failure << text;
  throw failure;
}

}  // namespace

static_assert(sizeof(QVRGuid) == 16 && sizeof(QVRUUID) == sizeof(QVRGuid));

constinit const QVRUUID QVRUUID::Nil(NilValue);

QVRUUID::QVRUUID() { generate(); }

QVRUUID::QVRUUID(const QVRGuid& guid) { *this = guid; }

QVRUUID::QVRUUID(const char* text) : guid_{} {
  if (text == nullptr || *text == '\0') return;
  if (!read(text, guid_)) refuse(u"Invalid UUID string - %1", text, __LINE__);
  if (!isValid()) refuse(u"Invalid UUID version - %1", text, __LINE__);
}

void QVRUUID::operator=(const QVRGuid& guid) {
  guid_ = guid;
  if (!isValid()) throw QVREInvalidFormat(u"Invalid UUID version", kSource, __LINE__);
}

void QVRUUID::generate() {
  guid_ = {};
  qvr::internal::RandomBlock block;
  if (qvr::internal::takeRandomBlock(block) != 0) {
    QVRReportAssert("Program error", "Invalid status code", kSource, kGeneratorLine);
    return;
  }
  std::memcpy(&guid_, block.data(), sizeof guid_);
  guid_.Data3 = static_cast<std::uint16_t>((guid_.Data3 & ~kVersionMask) | kRandomVersion);
  guid_.Data4[0] = static_cast<std::uint8_t>((guid_.Data4[0] & ~kVariantMask) | kRfcVariant);
}

std::string QVRUUID::toString() const {
  std::string text(kTextSize, '-');
  const Numbers numbers = numbersOf(guid_);
  for (std::size_t i = 0; i < kNumberCount; ++i) {
    const std::uint64_t digits = writeDigits(numbers[i]);
    store(static_cast<std::uint32_t>(digits >> 32), &text[kHalves[i][0]]);
    store(static_cast<std::uint32_t>(digits), &text[kHalves[i][1]]);
  }
  return text;
}

bool QVRUUID::isValid() const { return guid_.Data4[0] < kFirstReservedVariant; }

std::ostream& operator<<(std::ostream& out, const QVRUUID& uuid) { return out << uuid.toString(); }
