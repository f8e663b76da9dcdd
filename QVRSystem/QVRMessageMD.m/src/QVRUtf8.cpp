#include "QVRUtf8.h"

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) && !defined(QVR_UTF8_PORTABLE)
#include <immintrin.h>
// The next header is C, whose name for the type gcc knows in C++ too, and clang does not.
#define _Bool bool
#include <sys/platform/x86.h>
#define QVR_UTF8_SSE2
// Marks what only processors with hasAvx2() run.
#define QVR_UTF8_AVX2 __attribute__((target("avx2")))
#endif

namespace qvr::QVR_UTF8 {

namespace {

constexpr std::uint32_t kFirstOfTwoBytes = 0x80;
constexpr std::uint32_t kFirstOfThreeBytes = 0x800;
constexpr std::uint32_t kFirstOfFourBytes = 0x10000;
constexpr std::uint32_t kLastCode = 0x10FFFF;
constexpr std::uint32_t kFirstSurrogate = 0xD800;
constexpr std::uint32_t kFirstLowSurrogate = 0xDC00;
constexpr std::uint32_t kSurrogates = 0x800;
constexpr std::uint32_t kLowSurrogates = 0x400;

std::uint32_t byteOf(char c) { return static_cast<unsigned char>(c); }
std::uint32_t tailBits(char c) { return byteOf(c) & 0x3F; }
bool isTail(char c) { return (byteOf(c) & 0xC0) == 0x80; }
bool isAscii(char c) { return byteOf(c) < kFirstOfTwoBytes; }
bool isSurrogate(std::uint32_t code) { return code - kFirstSurrogate < kSurrogates; }
bool isLowSurrogate(std::uint32_t unit) { return unit - kFirstLowSurrogate < kLowSurrogates; }

template <class Word>
Word load(const void* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

template <class Word>
void store(void* to, Word word) {
  std::memcpy(to, &word, sizeof word);
}

// The first of eight bytes in the lowest bits.
std::uint64_t loadLittle(const char* from) {
  const auto word = load<std::uint64_t>(from);
  return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

// How far a text was narrowed.
struct Narrowed {
  const char16_t* text;
  char* to;
};

constexpr std::uint64_t kAsciiWord = 0x8080808080808080;  // the bits that are 0 in ASCII
constexpr std::size_t kWord = 8;

// Widens eight bytes. @return how many at their head are ASCII.
std::size_t widenWord(const char* from, char16_t* to) {
#ifdef QVR_UTF8_SSE2
  const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
#else
  for (std::size_t i = 0; i < kWord; ++i) to[i] = static_cast<char16_t>(byteOf(from[i]));
#endif
  return static_cast<std::size_t>(std::countr_zero(loadLittle(from) & kAsciiWord)) / 8;
}

#ifdef QVR_UTF8_SSE2

constexpr std::size_t kBlock = 16;

__m128i loadVector(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
void storeVector(void* to, __m128i vector) { _mm_storeu_si128(static_cast<__m128i*>(to), vector); }

// The bits of the bytes whose highest bit is set, and a one behind them all.
std::uint32_t highBits(__m128i bytes) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes)) | 1u << kBlock;
}

// Widens sixteen bytes. @return how many at their head are ASCII.
std::size_t widenBlock(const char* from, char16_t* to) {
  const __m128i bytes = loadVector(from);
  const __m128i zero = _mm_setzero_si128();
  storeVector(to, _mm_unpacklo_epi8(bytes, zero));
  storeVector(to + kBlock / 2, _mm_unpackhi_epi8(bytes, zero));
  return static_cast<std::size_t>(std::countr_zero(highBits(bytes)));
}

// Long ASCII goes by vectors of 32 bytes where the processor has them.
constexpr std::ptrdiff_t kBulk = 64;

// The C library knows: the compiler's way would ask the processor whenever the library is loaded,
// which takes long in a virtual machine.
bool hasAvx2() { return CPU_FEATURE_ACTIVE(AVX2); }

QVR_UTF8_AVX2 __m256i loadWide(const void* from) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}
QVR_UTF8_AVX2 void storeWide(void* to, __m256i vector) {
  _mm256_storeu_si256(static_cast<__m256i*>(to), vector);
}

QVR_UTF8_AVX2 Widened widenBulkByAvx2(Widened at, const char* end) {
  for (; end - at.text >= kBulk; at.text += kBulk, at.to += kBulk) {
    const __m256i all = _mm256_or_si256(loadWide(at.text), loadWide(at.text + 32));
    if (_mm256_movemask_epi8(all) != 0) return at;
    for (int i = 0; i < kBulk; i += 16) {
      storeWide(at.to + i, _mm256_cvtepu8_epi16(loadVector(at.text + i)));
    }
  }
  return at;
}

// Widens 64 bytes at a time as long as all are ASCII.
Widened widenBulk(Widened at, const char* end) {
  return end - at.text >= kBulk && hasAvx2() ? widenBulkByAvx2(at, end) : at;
}

// Narrows sixteen units. @return how many at their head are ASCII.
std::size_t narrowBlock(const char16_t* from, char* to) {
  const __m128i low = loadVector(from);
  const __m128i high = loadVector(from + kBlock / 2);
  storeVector(to, _mm_packus_epi16(low, high));
  // Units from 0x80 on, each as a byte of ones.
  const __m128i beyond = _mm_set1_epi16(static_cast<short>(0xFF80));
  const __m128i zero = _mm_setzero_si128();
  const __m128i ascii = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low, beyond), zero),
                                        _mm_cmpeq_epi16(_mm_and_si128(high, beyond), zero));
  const auto others = ~static_cast<std::uint32_t>(_mm_movemask_epi8(ascii));
  return static_cast<std::size_t>(std::countr_zero(others));
}

constexpr std::size_t kMeasured = 32;

// Whether 32 units are all ASCII, without zeros.
bool isAsciiBlock(const char16_t* text) {
  // Units past 0x7FFF become 0 and fall out with the zeros.
  const __m128i first = _mm_packus_epi16(loadVector(text), loadVector(text + 8));
  const __m128i second = _mm_packus_epi16(loadVector(text + 16), loadVector(text + 24));
  const __m128i zeros = _mm_cmpeq_epi8(_mm_min_epu8(first, second), _mm_setzero_si128());
  return _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(first, second), zeros)) == 0;
}

// Narrows 32 units of ASCII.
void narrowAsciiBlock(const char16_t* text, char* to) {
  storeVector(to, _mm_packus_epi16(loadVector(text), loadVector(text + 8)));
  storeVector(to + 16, _mm_packus_epi16(loadVector(text + 16), loadVector(text + 24)));
}

QVR_UTF8_AVX2 const char16_t* skipBulkByAvx2(const char16_t* text, const char16_t* end) {
  const __m256i zero = _mm256_setzero_si256();
  for (; end - text >= kBulk; text += kBulk) {
    // As in isAsciiBlock(). Packing mixes the units, which does not matter here.
    const __m256i first = _mm256_packus_epi16(loadWide(text), loadWide(text + 16));
    const __m256i second = _mm256_packus_epi16(loadWide(text + 32), loadWide(text + 48));
    const __m256i zeros = _mm256_cmpeq_epi8(_mm256_min_epu8(first, second), zero);
    const __m256i others = _mm256_or_si256(_mm256_or_si256(first, second), zeros);
    if (_mm256_movemask_epi8(others) != 0) return text;
  }
  return text;
}

// Skips 64 units at a time as long as all are ASCII, without zeros.
const char16_t* skipBulk(const char16_t* text, const char16_t* end) {
  return end - text >= kBulk && hasAvx2() ? skipBulkByAvx2(text, end) : text;
}

QVR_UTF8_AVX2 Narrowed narrowBulkByAvx2(Narrowed at, const char16_t* end) {
  constexpr int kUnits = 32;
  constexpr int kInOrder = 0xD8;  // of the quarters that packing has mixed
  for (; end - at.text >= kUnits; at.text += kUnits, at.to += kUnits) {
    const __m256i mixed = _mm256_packus_epi16(loadWide(at.text), loadWide(at.text + 16));
    storeWide(at.to, _mm256_permute4x64_epi64(mixed, kInOrder));
  }
  return at;
}

// Narrows 32 units of ASCII at a time.
Narrowed narrowBulk(Narrowed at, const char16_t* end) {
  return end - at.text >= kBulk && hasAvx2() ? narrowBulkByAvx2(at, end) : at;
}

// Measures blocks of eight units that hold neither zeros nor surrogates.
const char16_t* measureBlocks(const char16_t* text, const char16_t* end, std::size_t& bytes) {
  constexpr std::ptrdiff_t kUnits = 8;
  constexpr int kRounds = 4096;  // what a lane of 16 bits can count, two each
  const __m128i zero = _mm_setzero_si128();
  const __m128i beyondOne = _mm_set1_epi16(static_cast<short>(0xFF80));
  const __m128i beyondTwo = _mm_set1_epi16(static_cast<short>(0xF800));
  const __m128i surrogates = _mm_set1_epi16(static_cast<short>(kFirstSurrogate));
  bool plain = true;
  while (plain && end - text >= kUnits) {
    __m128i saved = zero;  // bytes less than three, negative, by lane
    for (int round = 0; round < kRounds && end - text >= kUnits; ++round) {
      const __m128i units = loadVector(text);
      const __m128i head = _mm_and_si128(units, beyondTwo);
      const __m128i stops =
          _mm_or_si128(_mm_cmpeq_epi16(units, zero), _mm_cmpeq_epi16(head, surrogates));
      plain = _mm_movemask_epi8(stops) == 0;
      if (!plain) break;
      saved = _mm_add_epi16(saved, _mm_cmpeq_epi16(head, zero));
      saved = _mm_add_epi16(saved, _mm_cmpeq_epi16(_mm_and_si128(units, beyondOne), zero));
      text += kUnits;
      bytes += 3 * kUnits;
    }
    alignas(16) std::int16_t lanes[kUnits];
    storeVector(lanes, saved);
    for (const std::int16_t lane : lanes) bytes -= static_cast<std::size_t>(-lane);
  }
  return text;
}

// Narrows eight units of three bytes each, with two bytes more to write to.
// @return false, and nothing is done, if one of them has not three bytes.
bool narrowThreeByteBlock(const char16_t* from, char* to) {
  const __m128i units = loadVector(from);
  const __m128i head = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800)));
  const __m128i others =
      _mm_or_si128(_mm_cmpeq_epi16(head, _mm_setzero_si128()),
                   _mm_cmpeq_epi16(head, _mm_set1_epi16(static_cast<short>(kFirstSurrogate))));
  if (_mm_movemask_epi8(others) != 0) return false;
  const __m128i tail = _mm_set1_epi16(0x3F);
  const __m128i first = _mm_srli_epi16(units, 12);
  const __m128i second = _mm_slli_epi16(_mm_and_si128(_mm_srli_epi16(units, 6), tail), 8);
  const __m128i twoBytes =
      _mm_or_si128(_mm_or_si128(first, second), _mm_set1_epi16(static_cast<short>(0x80E0)));
  const __m128i third = _mm_or_si128(_mm_and_si128(units, tail), _mm_set1_epi16(0x80));
  // Four bytes per unit, the fourth 0: two units make six bytes.
  alignas(16) std::uint64_t pairs[4];
  storeVector(pairs, _mm_unpacklo_epi16(twoBytes, third));
  storeVector(pairs + 2, _mm_unpackhi_epi16(twoBytes, third));
  for (const std::uint64_t pair : pairs) {
    store(to, (pair & 0xFFFFFF) | (pair >> 8 & 0xFFFFFF000000));
    to += 6;
  }
  return true;
}

#else

constexpr std::size_t kBlock = kWord;

std::size_t widenBlock(const char* from, char16_t* to) { return widenWord(from, to); }

Widened widenBulk(Widened at, const char*) { return at; }

std::size_t narrowBlock(const char16_t* from, char* to) {
  std::size_t ascii = 0;
  for (std::size_t i = 0; i < kBlock; ++i) to[i] = static_cast<char>(from[i]);
  while (ascii < kBlock && from[ascii] < kFirstOfTwoBytes) ++ascii;
  return ascii;
}

constexpr std::size_t kMeasured = 8;

bool isAsciiBlock(const char16_t* text) {
  std::uint32_t all = 0;
  bool zeros = false;
  for (std::size_t i = 0; i < kMeasured; ++i) {
    all |= text[i];
    zeros |= text[i] == 0;
  }
  return all < kFirstOfTwoBytes && !zeros;
}

void narrowAsciiBlock(const char16_t* text, char* to) {
  for (std::size_t i = 0; i < kMeasured; ++i) to[i] = static_cast<char>(text[i]);
}

const char16_t* skipBulk(const char16_t* text, const char16_t*) { return text; }

Narrowed narrowBulk(Narrowed at, const char16_t*) { return at; }

const char16_t* measureBlocks(const char16_t* text, const char16_t* end, std::size_t& bytes) {
  for (; text != end && *text != 0 && !isSurrogate(*text); ++text) {
    bytes += 1u + (*text >= kFirstOfTwoBytes) + (*text >= kFirstOfThreeBytes);
  }
  return text;
}

bool narrowThreeByteBlock(const char16_t*, char*) { return false; }

#endif

// Widens two characters of three bytes each, of eight readable ones.
// @return false, and nothing is done, if they are not.
bool widenThreeBytePair(const char* from, char16_t* to) {
  const std::uint64_t word = loadLittle(from);
  if ((word & 0xC0C0F0C0C0F0) != 0x8080E08080E0) return false;
  const std::uint64_t codes =
      (word & 0x00000F00000F) << 12 | (word & 0x003F00003F00) >> 2 | (word & 0x3F00003F0000) >> 16;
  const auto first = static_cast<char16_t>(codes);
  const auto second = static_cast<char16_t>(codes >> 24);
  // By their highest five bits: overlong forms and surrogates.
  constexpr std::uint32_t kRefused = 1u << 0 | 1u << (kFirstSurrogate >> 11);
  if (((kRefused >> (first >> 11) | kRefused >> (second >> 11)) & 1) != 0) return false;
  to[0] = first;
  to[1] = second;
  return true;
}

// What the bits of a character of `length` bytes say, 2 to 4.
std::uint32_t codeOf(const char* text, std::size_t length) {
  const std::uint32_t head = byteOf(text[0]);
  if (length == 2) return (head & 0x1F) << 6 | tailBits(text[1]);
  if (length == 3) return (head & 0x0F) << 12 | tailBits(text[1]) << 6 | tailBits(text[2]);
  return (head & 0x07) << 18 | tailBits(text[1]) << 12 | tailBits(text[2]) << 6 | tailBits(text[3]);
}

// How long the character at the head of `available` bytes is; 0 where it is none.
// Reads no byte behind the first that is out of place.
std::size_t lengthWithin(const char* text, std::size_t available) {
  const std::uint32_t head = byteOf(*text);
  if (head < kFirstOfTwoBytes) return 1;
  if (head < 0xC2 || head > 0xF4) return 0;
  const std::size_t length = head < 0xE0 ? 2 : head < 0xF0 ? 3 : 4;
  if (length > available) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if (!isTail(text[i])) return 0;
  }
  if (length == 2) return length;
  const std::uint32_t code = codeOf(text, length);
  if (length == 3) return code >= kFirstOfThreeBytes && !isSurrogate(code) ? length : 0;
  return code >= kFirstOfFourBytes && code <= kLastCode ? length : 0;
}

char16_t* putCode(std::uint32_t code, char16_t* to) {
  if (code < kFirstOfFourBytes) {
    *to++ = static_cast<char16_t>(code);
    return to;
  }
  *to++ = static_cast<char16_t>(kFirstSurrogate - (kFirstOfFourBytes >> 10) + (code >> 10));
  *to++ = static_cast<char16_t>(kFirstLowSurrogate | (code & (kLowSurrogates - 1)));
  return to;
}

// Widens the characters at the head that are not ASCII, up to the first that is
// or that cannot be widened.
Widened widenOthers(Widened at, const char* end) {
  while (at.text != end && !isAscii(*at.text)) {
    while (end - at.text >= 8 && widenThreeBytePair(at.text, at.to)) {
      at.text += 6;
      at.to += 2;
    }
    const std::size_t length = lengthWithin(at.text, static_cast<std::size_t>(end - at.text));
    if (length < 2) break;
    at.to = putCode(codeOf(at.text, length), at.to);
    at.text += length;
  }
  return at;
}

// The code at the head of [text, end): a unit or a pair, whose length is told.
std::uint32_t codeOf(const char16_t* text, const char16_t* end, std::ptrdiff_t& units) {
  units = 1;
  const std::uint32_t first = text[0];
  if (!isSurrogate(first) || isLowSurrogate(first)) return first;
  if (end - text < 2 || !isLowSurrogate(text[1])) return first;
  units = 2;
  return kFirstOfFourBytes + ((first - kFirstSurrogate) << 10) + (text[1] - kFirstLowSurrogate);
}

std::size_t bytesOf(std::uint32_t code) {
  return 1u + (code >= kFirstOfTwoBytes) + (code >= kFirstOfThreeBytes) +
         (code >= kFirstOfFourBytes);
}

char tailOf(std::uint32_t bits) { return static_cast<char>(0x80 | (bits & 0x3F)); }

// Narrows a code that is not ASCII.
char* putCode(std::uint32_t code, char* to) {
  if (code < kFirstOfThreeBytes) {
    *to++ = static_cast<char>(0xC0 | code >> 6);
  } else if (code < kFirstOfFourBytes) {
    *to++ = static_cast<char>(0xE0 | code >> 12);
    *to++ = tailOf(code >> 6);
  } else {
    *to++ = static_cast<char>(0xF0 | code >> 18);
    *to++ = tailOf(code >> 12);
    *to++ = tailOf(code >> 6);
  }
  *to++ = tailOf(code);
  return to;
}

// Narrows the ASCII at the head.
Narrowed narrowHead(Narrowed at, const char16_t* end) {
  while (end - at.text >= static_cast<std::ptrdiff_t>(kBlock)) {
    const std::size_t ascii = narrowBlock(at.text, at.to);
    if (ascii < kBlock) return {at.text + ascii, at.to + ascii};
    at = {at.text + kBlock, at.to + kBlock};
  }
  while (at.text != end && *at.text < kFirstOfTwoBytes) *at.to++ = static_cast<char>(*at.text++);
  return at;
}

// Narrows the characters at the head that are not ASCII.
Narrowed narrowOthers(Narrowed at, const char16_t* end) {
  constexpr std::ptrdiff_t kUnits = 8;
  constexpr std::ptrdiff_t kReserve = 2;  // for what a block writes behind itself
  while (at.text != end && *at.text >= kFirstOfTwoBytes) {
    if (*at.text >= kFirstOfThreeBytes && end - at.text >= kUnits + kReserve &&
        narrowThreeByteBlock(at.text, at.to)) {
      at = {at.text + kUnits, at.to + 3 * kUnits};
      continue;
    }
    std::ptrdiff_t units;
    at.to = putCode(codeOf(at.text, end, units), at.to);
    at.text += units;
  }
  return at;
}

}  // namespace

Widened widenAscii(const char* text, const char* end, char16_t* to) noexcept {
  Widened at = {text, to};
  while (end - at.text >= static_cast<std::ptrdiff_t>(kBlock)) {
    const std::size_t ascii = widenBlock(at.text, at.to);
    if (ascii < kBlock) return {at.text + ascii, at.to + ascii};
    at = widenBulk({at.text + kBlock, at.to + kBlock}, end);
  }
  if (end - at.text >= static_cast<std::ptrdiff_t>(kWord)) {
    const std::size_t ascii = widenWord(at.text, at.to);
    if (ascii < kWord) return {at.text + ascii, at.to + ascii};
    at = {at.text + kWord, at.to + kWord};
  }
  while (at.text != end && isAscii(*at.text)) *at.to++ = static_cast<char16_t>(*at.text++);
  return at;
}

Widened widen(const char* text, const char* end, char16_t* to) noexcept {
  Widened at = {text, to};
  for (bool goesOn = true; goesOn;) {
    const Widened others = widenAscii(at.text, end, at.to);
    at = widenOthers(others, end);
    goesOn = at.text != others.text && at.text != end && isAscii(*at.text);
  }
  return at;
}

std::size_t characterLength(const char* text) noexcept { return lengthWithin(text, 4); }

Measure measure(const char16_t* text, const char16_t* end) noexcept {
  const char16_t* const bulk = skipBulk(text, end);
  auto bytes = static_cast<std::size_t>(bulk - text);
  for (text = bulk; end - text >= static_cast<std::ptrdiff_t>(kMeasured) && isAsciiBlock(text);
       text += kMeasured) {
    bytes += kMeasured;
  }
  for (; text != end && *text != 0 && *text < kFirstOfTwoBytes; ++text) ++bytes;
  while (text != end) {
    text = measureBlocks(text, end, bytes);
    // Character by character past what stopped the blocks.
    for (int i = 0; i < 8 && text != end; ++i) {
      std::ptrdiff_t units;
      const std::uint32_t code = codeOf(text, end, units);
      if (code == 0 || isSurrogate(code)) return {text, bytes};
      bytes += bytesOf(code);
      text += units;
    }
  }
  return {text, bytes};
}

char* narrowAscii(const char16_t* text, const char16_t* end, char* to) noexcept {
  Narrowed at = narrowBulk({text, to}, end);
  for (; end - at.text >= static_cast<std::ptrdiff_t>(kMeasured);
       at = {at.text + kMeasured, at.to + kMeasured}) {
    narrowAsciiBlock(at.text, at.to);
  }
  while (at.text != end) *at.to++ = static_cast<char>(*at.text++);
  return at.to;
}

char* narrow(const char16_t* text, const char16_t* end, char* to) noexcept {
  Narrowed at = {text, to};
  while (at.text != end) at = narrowOthers(narrowHead(at, end), end);
  return at.to;
}

}  // namespace qvr::QVR_UTF8
