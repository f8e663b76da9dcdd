#include "QVRUUID.h"

#include <array>
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
constexpr std::size_t kByteCount = 16;
constexpr std::uint8_t kNoDigit = 0xFF;

/// The bytes in the order in which the text shows them.
using Bytes = std::array<std::uint8_t, kByteCount>;

/// Where the text shows each of them.
constexpr std::size_t kPlaces[kByteCount] = {0,  2,  4,  6,  9,  11, 14, 16,
                                             19, 21, 24, 26, 28, 30, 32, 34};
constexpr std::size_t kHyphens[] = {8, 13, 18, 23};

constexpr std::array<std::uint8_t, 256> makeDigits() {
  std::array<std::uint8_t, 256> digits;
  digits.fill(kNoDigit);
  for (std::uint8_t i = 0; i < 10; ++i) digits['0' + i] = i;
  for (std::uint8_t i = 10; i < 16; ++i) digits['a' + i - 10] = digits['A' + i - 10] = i;
  return digits;
}

constexpr std::array<std::uint8_t, 256> kDigits = makeDigits();

constexpr std::uint8_t digitOf(char c) { return kDigits[static_cast<unsigned char>(c)]; }

using DigitPair = std::array<char, 2>;

constexpr std::array<DigitPair, 256> makeDigitPairs() {
  constexpr char kHex[] = "0123456789abcdef";
  std::array<DigitPair, 256> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kHex[i / 16], kHex[i % 16]};
  return pairs;
}

constexpr std::array<DigitPair, 256> kDigitPairs = makeDigitPairs();

Bytes bytesOf(const QVRGuid& guid) {
  Bytes bytes;
  for (std::size_t i = 0; i < 4; ++i)
    bytes[i] = static_cast<std::uint8_t>(guid.Data1 >> (24 - 8 * i));
  for (std::size_t i = 0; i < 2; ++i) {
    bytes[4 + i] = static_cast<std::uint8_t>(guid.Data2 >> (8 - 8 * i));
    bytes[6 + i] = static_cast<std::uint8_t>(guid.Data3 >> (8 - 8 * i));
  }
  std::memcpy(&bytes[8], guid.Data4, sizeof guid.Data4);
  return bytes;
}

std::uint16_t twoBytes(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

QVRGuid guidOf(const Bytes& bytes) {
  QVRGuid guid;
  guid.Data1 = std::uint32_t{twoBytes(&bytes[0])} << 16 | twoBytes(&bytes[2]);
  guid.Data2 = twoBytes(&bytes[4]);
  guid.Data3 = twoBytes(&bytes[6]);
  std::memcpy(guid.Data4, &bytes[8], sizeof guid.Data4);
  return guid;
}

/// Reads a text with a digit at each place and hyphens between, as nearly all are.
bool readPlain(const char* text, QVRGuid& guid) {
  Bytes bytes;
  unsigned seen = 0;
  for (std::size_t i = 0; i < kByteCount; ++i) {
    const unsigned high = digitOf(text[kPlaces[i]]);
    const unsigned low = digitOf(text[kPlaces[i] + 1]);
    seen |= high | low;
    bytes[i] = static_cast<std::uint8_t>(high << 4 | low);
  }
  bool isPlain = seen < 16;
  for (const std::size_t place : kHyphens) isPlain &= text[place] == '-';
  if (isPlain) guid = guidOf(bytes);
  return isPlain;
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

static_assert(sizeof(QVRGuid) == kByteCount && sizeof(QVRUUID) == kByteCount);

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
  const Bytes bytes = bytesOf(guid_);
  for (std::size_t i = 0; i < kByteCount; ++i) {
    std::memcpy(&text[kPlaces[i]], &kDigitPairs[bytes[i]], sizeof(DigitPair));
  }
  return text;
}

bool QVRUUID::isValid() const { return guid_.Data4[0] < kFirstReservedVariant; }

std::ostream& operator<<(std::ostream& out, const QVRUUID& uuid) { return out << uuid.toString(); }
