#include "QVRLocale.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <stdexcept>
#include <typeinfo>

#include "QVRLocaleText.h"
#include "QVRNumberText.h"
#include "QVRSysDate.h"
#include "QVRSysDateTime.h"
#include "QVRSysFastMutexLock.h"
#include "QVRSysTime.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRFork.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/platform/QVRPlatformLocale.h"
#include "QVRUtf8.h"

namespace {

using qvr::internal::Atomic;
using qvr::internal::ForkLock;
using qvr::internal::ForkRank;
using qvr::internal::GrowingText;
using qvr::internal::ShortSection;
using qvr::internal::WideText;
using qvr::internal::writeDouble;

using LockGuard = QVRSysFastMutexLock::LockGuard;

// Guards the making of the instance.
QVRSysFastMutexLock instanceLock{QVRStaticObject()};
// Held while the C library looks for a locale. A fork waits for it: the lock that
// the C library takes meanwhile would never be free again in the child.
QVRSysFastMutexLock localeLock QVR_ACQUIRED_AFTER(instanceLock){QVRStaticObject()};
const ForkLock forkInstanceLock(ForkRank::LocaleInstance, instanceLock.getNativeLock());
const ForkLock forkLocaleLock(ForkRank::LocaleProcess, localeLock.getNativeLock());

// Changed under instanceLock, read without.
constinit Atomic<const QVRLocale*> instance{nullptr};
bool exitIsRegistered QVR_GUARDED_BY(instanceLock) = false;

bool probe(const char* name) {
  const ShortSection section;
  const LockGuard guard(localeLock);
  return qvr::platform::probeLocale(name) == 0;
}

constexpr std::size_t kFailed = static_cast<std::size_t>(-1);  // as the C library says it

[[noreturn]] void failToWiden() { throw std::runtime_error("Invalid multibyte string"); }
[[noreturn]] void failToNarrow() { throw std::runtime_error("Invalid wide-character string"); }

void checkRoom(std::size_t length, std::size_t bufferLength) {
  if (length >= bufferLength) throw std::length_error("Output buffer too small");
}

// What the library converts itself.
enum class Encoding { Utf8, Ascii, Other };

// In line, for every conversion begins with it.
template <std::size_t kSize>
bool isNamed(const char* name, const char (&expected)[kSize]) {
  for (std::size_t i = 0; i < kSize; ++i) {
    if (name[i] != expected[i]) return false;
  }
  return true;
}

Encoding currentEncoding() {
  const char* name = "";
  if (qvr::platform::codeset(name) != 0) return Encoding::Other;
  if (isNamed(name, "UTF-8")) return Encoding::Utf8;
  return isNamed(name, "ANSI_X3.4-1968") ? Encoding::Ascii : Encoding::Other;
}

// Widens what the library itself can, by one of the first two encodings.
qvr::utf8::Widened widen(Encoding encoding, const char* text, const char* end, wchar16* to) {
  return encoding == Encoding::Utf8 ? qvr::utf8::widen(text, end, to)
                                    : qvr::utf8::widenAscii(text, end, to);
}

const char* findZero(const char* text, std::size_t limit) {
  return static_cast<const char*>(std::memchr(text, 0, limit));
}

// Widens a text that ends within the limit, if the library itself can, whole.
// @return behind the last unit, or null.
const wchar16* widenWhole(const char* text, std::size_t limit, wchar16* to) {
  const Encoding encoding = currentEncoding();
  const char* const zero = encoding == Encoding::Other ? nullptr : findZero(text, limit);
  if (zero == nullptr) return nullptr;
  const auto widened = widen(encoding, text, zero, to);
  return widened.text == zero ? widened.to : nullptr;
}

constexpr wchar_t kLastUnit = 0xFFFF;
constexpr wchar_t kLastCode = 0x10FFFF;

wchar16 highSurrogate(wchar_t code) { return static_cast<wchar16>(0xD7C0 + (code >> 10)); }
wchar16 lowSurrogate(wchar_t code) { return static_cast<wchar16>(0xDC00 + (code & 0x3FF)); }
bool isHighSurrogate(wchar16 unit) { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(wchar16 unit) { return (unit & 0xFC00) == 0xDC00; }

// The widening of one text, as mbstowcs does it, with a limit in units of UTF-16.
class Widening {
 public:
  Widening(const char* text, std::size_t limit, WideText& wide)
      : text_(text), limit_(limit), wide_(wide) {}

  void run() {
    if (const Encoding encoding = currentEncoding(); encoding != Encoding::Other) {
      runFast(encoding);
    }
    runByCLibrary();
  }

 private:
  // Widens what the library can; leaves the rest, failures included.
  void runFast(Encoding encoding) {
    const char* before;
    do {
      before = text_;
      // A character has no more units than bytes: `limit_` bytes fit, and up to
      // the zero they are there to be read.
      const char* const zero = findZero(text_, limit_);
      runFast(encoding, zero != nullptr ? zero : text_ + limit_);
      if (text_ == zero) limit_ = 0;
    } while (limit_ != 0 && text_ != before);
  }

  void runFast(Encoding encoding, const char* end) {
    constexpr std::ptrdiff_t kBlock = WideText::kBlock;
    if (end - text_ > kBlock) wide_.reserve(static_cast<std::size_t>(end - text_));
    for (const char* before = nullptr; text_ != end && text_ != before;) {
      before = text_;
      const std::ptrdiff_t length = std::min(end - text_, kBlock);
      wchar16* const room = wide_.room(static_cast<std::size_t>(length));
      const auto widened = widen(encoding, text_, text_ + length, room);
      limit_ -= static_cast<std::size_t>(widened.to - room);
      text_ = widened.text;
      wide_.extend(widened.to);
    }
  }

  void runByCLibrary() {
    constexpr std::size_t kCodes = 256;
    wchar_t codes[kCodes];
    std::mbstate_t state{};
    while (limit_ != 0 && text_ != nullptr) {
      // Each may be a pair: no more are read than certainly fit.
      const std::size_t wanted = std::clamp<std::size_t>(limit_ / 2, 1, kCodes);
      const std::size_t count = std::mbsrtowcs(codes, &text_, wanted, &state);
      // Behind a character that the zero cuts short, it would read on.
      const bool isCut = count < wanted && text_ != nullptr;
      if (count == kFailed || isCut) failToWiden();
      for (std::size_t i = 0; i < count; ++i) append(codes[i]);
    }
  }

  void append(wchar_t code) {
    if (code > kLastCode) failToWiden();
    const bool isPair = code > kLastUnit;
    const wchar16 units[] = {isPair ? highSurrogate(code) : static_cast<wchar16>(code),
                             lowSurrogate(code)};
    const std::size_t count = isPair ? 2 : 1;
    if (count <= limit_) wide_.append(units, count);
    limit_ -= std::min(count, limit_);  // a pair that does not fit ends the text
  }

  const char* text_;  // what is left; null behind its zero
  std::size_t limit_;
  WideText& wide_;
};

// The code at the head of a zero-terminated text, and how many units it takes.
wchar_t codeAt(const wchar16* text, std::size_t& units) {
  units = 1;
  if (isLowSurrogate(*text)) failToNarrow();
  if (!isHighSurrogate(*text)) return *text;
  if (!isLowSurrogate(text[1])) failToNarrow();
  units = 2;
  return static_cast<wchar_t>(0x10000 + ((text[0] - 0xD800) << 10) + (text[1] - 0xDC00));
}

// Narrows a text up to its first zero, as wcstombs does it.
void narrowByCLibrary(const std::u16string& in, GrowingText<char>& narrow) {
  char bytes[MB_LEN_MAX];
  std::mbstate_t state{};
  std::size_t units;
  wchar_t code;
  const wchar16* text = in.c_str();
  do {
    code = codeAt(text, units);
    text += units;
    std::size_t count = std::wcrtomb(bytes, code, &state);
    if (count == kFailed) failToNarrow();
    if (code == 0) --count;  // what leads back to the initial state, but no zero
    narrow.append(bytes, count);
  } while (code != 0);
}

void getByCLibrary(const std::u16string& in, char* buffer, std::size_t bufferLength) {
  GrowingText<char> narrow;
  narrowByCLibrary(in, narrow);
  const std::size_t length = narrow.size();
  checkRoom(length, bufferLength);
  std::memcpy(buffer, narrow.isShort() ? narrow.block() : narrow.text().data(), length);
  buffer[length] = '\0';
}

// Puts the text of a number, with room for a zero behind it. Its characters are the
// same in every encoding, but a derived class may change the conversion.
void putNumber(const QVRLocale& locale, std::u16string& out, const char* text, char* end) {
  const auto length = static_cast<std::size_t>(end - text);
  *end = '\0';
  if (typeid(locale) != typeid(QVRLocale)) return locale.put(out, text, length);
  out.resize(length);
  std::copy(text, text + length, out.begin());
}

// Widens any text. Not in line, to spare the short ones its large frame.
[[gnu::noinline]] void putLong(const QVRLocale& locale, std::u16string& out, const char* text,
                               std::size_t count) {
  WideText wide;
  qvr::internal::write(wide, text, count);
  if (wide.isShort()) return locale.put(out, wide.block(), wide.size());
  // Where the wide put() is QVRLocale's own, a long text need not be copied.
  if (typeid(locale) == typeid(QVRLocale)) return out.swap(wide.text());
  locale.put(out, wide.text().data(), wide.text().size());
}

// As mblen with a state of its own: the character is measured from the initial
// state.
std::size_t characterLength(const char* text, std::size_t longest) {
  std::mbstate_t state{};
  const std::size_t length = std::mbrlen(text, longest, &state);
  if (length - 1 >= longest) throw std::runtime_error("Invalid multibyte character");
  return length;
}

constexpr std::size_t kDoubleLength = 800;  // 767 digits, sign, point, zeros, exponent
constexpr std::size_t kIntegerLength = 24;

void writeInteger(WideText& to, unsigned long magnitude, bool isNegative) {
  wchar16 text[kIntegerLength];
  wchar16* const end = std::end(text);
  wchar16* begin = end;
  do {
    *--begin = static_cast<wchar16>(u'0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  if (isNegative) *--begin = u'-';
  to.append(begin, static_cast<std::size_t>(end - begin));
}

}  // namespace

void qvr::internal::write(WideText& to, long value) {
  const auto bits = static_cast<unsigned long>(value);
  writeInteger(to, value < 0 ? 0 - bits : bits, value < 0);
}

void qvr::internal::write(WideText& to, unsigned long value) { writeInteger(to, value, false); }

void qvr::internal::write(WideText& to, double value, unsigned precision) {
  char text[kDoubleLength];
  const char* const end = writeDouble(text, std::end(text), value, precision);
  to.extend(std::copy<const char*>(text, end, to.room(static_cast<std::size_t>(end - text))));
}

void qvr::internal::write(WideText& to, const char* text, std::size_t count) {
  constexpr std::size_t kMost = PTRDIFF_MAX;
  Widening(text, std::min(count, kMost - 1) + 1, to).run();
}

QVRLocale::QVRLocale(const char*) {}

QVRLocale::~QVRLocale() = default;

std::size_t QVRLocale::length(const wchar16* text) const {
  return std::char_traits<wchar16>::length(text);
}

std::size_t QVRLocale::length(const char* text, std::size_t maxBytes) const {
  const std::size_t longest = MB_CUR_MAX;
  if (longest <= 1) return std::strlen(text);
  const bool isUtf8 = currentEncoding() == Encoding::Utf8;
  std::size_t count = 0;
  std::size_t position = 0;
  for (; position < maxBytes && text[position] != '\0'; ++count) {
    std::size_t bytes = isUtf8 ? qvr::utf8::characterLength(text + position) : 0;
    if (bytes == 0) bytes = characterLength(text + position, longest);
    position += bytes;
  }
  if (position > maxBytes) failToWiden();
  return count;
}

void QVRLocale::put(std::u16string& out, const QVRSysDate& date, char) const {
  const std::string text = date.toString('D');
  put(out, text.c_str(), text.size());
}

void QVRLocale::put(std::u16string& out, const QVRSysTime& time, char) const {
  const std::string text = time.toString("%H:%M:%S");
  put(out, text.c_str(), text.size());
}

void QVRLocale::put(std::u16string& out, const QVRSysDateTime& dateTime, char) const {
  const std::string text = dateTime.getTime().toString("%H:%M:%S %p");
  put(out, text.c_str(), text.size());
}

void QVRLocale::put(std::u16string& out, const struct tm& time, char format) const {
  put(out, QVRSysDateTime(time, 0), format);
}

void QVRLocale::put(std::u16string& out, double value, unsigned precision) const {
  char text[kDoubleLength];
  putNumber(*this, out, text, writeDouble(text, std::end(text) - 1, value, precision));
}

void QVRLocale::put(std::u16string& out, unsigned long value) const {
  char text[kIntegerLength];
  putNumber(*this, out, text, std::to_chars(text, std::end(text) - 1, value).ptr);
}

void QVRLocale::put(std::u16string& out, long value) const {
  char text[kIntegerLength];
  putNumber(*this, out, text, std::to_chars(text, std::end(text) - 1, value).ptr);
}

void QVRLocale::put(std::u16string& out, const wchar16* text, std::size_t count) const {
  out.assign(text, count);
}

void QVRLocale::put(std::u16string& out, const char* text, std::size_t count) const {
  constexpr std::size_t kShort = 128;  // more than most texts have
  if (count < kShort) {
    wchar16 units[kShort];
    if (const wchar16* const end = widenWhole(text, count + 1, units)) {
      return put(out, units, static_cast<std::size_t>(end - units));
    }
  }
  putLong(*this, out, text, count);
}

void QVRLocale::get(const std::u16string& in, wchar16* buffer, std::size_t bufferLength) const {
  checkRoom(in.size(), bufferLength);
  std::copy_n(in.c_str(), in.size() + 1, buffer);
}

void QVRLocale::get(const std::u16string& in, char* buffer, std::size_t bufferLength) const {
  const Encoding encoding = currentEncoding();
  if (encoding == Encoding::Other) return getByCLibrary(in, buffer, bufferLength);
  const wchar16* const text = in.data();
  const qvr::utf8::Measure measured = qvr::utf8::measure(text, text + in.size());
  // The end is a zero, that behind the text at the least, or a lone surrogate.
  if (*measured.end != 0) failToNarrow();
  const bool isAscii = measured.bytes == static_cast<std::size_t>(measured.end - text);
  if (encoding == Encoding::Ascii && !isAscii) return getByCLibrary(in, buffer, bufferLength);
  checkRoom(measured.bytes, bufferLength);
  const auto narrow = isAscii ? &qvr::utf8::narrowAscii : &qvr::utf8::narrow;
  *narrow(text, measured.end, buffer) = '\0';
}

void QVRLocale::putMoney(std::u16string& out, double amount, SymbolType) const {
  constexpr std::ptrdiff_t kWidth = 4;
  char digits[kIntegerLength];
  char* const end = writeDouble(digits, std::end(digits), amount, 6);
  std::string text = "$";
  text.append(static_cast<std::size_t>(std::max<std::ptrdiff_t>(kWidth - (end - digits), 0)), ' ');
  text.append(digits, end);
  put(out, text.c_str(), text.size());
}

const QVRLocale& QVRLocale::global() {
  // Pairs with the store below: whoever sees the instance sees it complete.
  if (const QVRLocale* const made = instance.load(std::memory_order_acquire)) return *made;
  // A caller's operator new, and delete in onExit(), run without the lock.
  auto locale = std::make_unique<const QVRLocale>("");
  const ShortSection section;
  const LockGuard guard(instanceLock);
  if (const QVRLocale* const made = instance.load(std::memory_order_relaxed)) return *made;
  // The first look at the user's locale is taken here, whether there is one or not.
  probe("");
  if (!exitIsRegistered) exitIsRegistered = std::atexit(&QVRLocale::onExit) == 0;
  instance.store(locale.get(), std::memory_order_release);
  return *locale.release();
}

bool QVRLocale::exists(const char* name) { return name != nullptr && probe(name); }

void QVRLocale::onExit() {
  std::unique_ptr<const QVRLocale> last;
  const ShortSection section;
  const LockGuard guard(instanceLock);
  last.reset(instance.exchange(nullptr, std::memory_order_acq_rel));
}
