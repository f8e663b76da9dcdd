// Values as wide text, and text from one encoding to the other.
#pragma once

#include <cstddef>
#include <string>

#include "QVRMsgBase.h"

class QVRSysDate;
class QVRSysDateTime;
class QVRSysTime;
struct tm;

/// Through which arguments of messages become wide text and wide text becomes
/// narrow.
///
/// Narrow text is in the encoding of the calling thread's locale: that of the
/// process (setlocale, category LC_CTYPE) unless the thread has one of its own
/// (uselocale). Wide text is UTF-16: a character outside the basic plane is two
/// units. All instances behave alike; derived classes change what they override.
/// Every put() and putMoney() replaces what `out` held. Those for values end in
/// the narrow put(), and that one ends in the wide one.
///
/// A failed operation leaves `out` or `buffer` as it was:
/// | condition | thrown | text |
/// |---|---|---|
/// | bytes that are no character, counted | std::runtime_error | "Invalid multibyte character" |
/// | a counted character runs past the limit | std::runtime_error | "Invalid multibyte string" |
/// | narrow text that cannot be widened | std::runtime_error | "Invalid multibyte string" |
/// | wide text that cannot be narrowed | std::runtime_error | "Invalid wide-character string" |
/// | a buffer too small for text and zero | std::length_error | "Output buffer too small" |
/// | memory that the heap refuses | std::bad_alloc | |
///
/// @par Thread safety
/// Any thread may call any operation, also while others change the process's
/// locale as far as the C library allows that. The library never changes it.
/// @par Cost
/// Conversions are linear. UTF-8 and ASCII are converted by the library itself,
/// other encodings by the C library. Texts of up to 1,024 units or bytes need no
/// memory but that of `out`.
class QVRSYSTEM_API QVRLocale : public QVRMsgBase {
 public:
  /// @param name accepted and not used.
  explicit QVRLocale(const char* name);
  ~QVRLocale() override;

  QVRLocale(const QVRLocale&) = default;
  QVRLocale& operator=(const QVRLocale&) = default;

  /// Code units before the terminating zero.
  virtual std::size_t length(const wchar16* text) const;

  /// Characters of a zero-terminated text, looked for in its first `maxBytes`
  /// bytes. Where characters have one byte each, the limit is not looked at and
  /// the whole text is counted.
  virtual std::size_t length(const char* text, std::size_t maxBytes) const;

  /// The date as its toString('D') writes it, whatever the letter.
  virtual void put(std::u16string& out, const QVRSysDate& date, char format) const;

  /// The time as "%H:%M:%S", whatever the letter.
  virtual void put(std::u16string& out, const QVRSysTime& time, char format) const;

  /// The local time of day as "%H:%M:%S %p", without the date, whatever the letter.
  virtual void put(std::u16string& out, const QVRSysDateTime& dateTime, char format) const;

  /// The local time that `time` tells, made into a QVRSysDateTime and written
  /// as one.
  virtual void put(std::u16string& out, const struct tm& time, char format) const;

  /// The number with `precision` significant digits as "%g" writes them, with a
  /// point and without grouping whatever the locale. 0 counts as 1; more than
  /// 2147483647 as 6, as in a stream.
  virtual void put(std::u16string& out, double value, unsigned precision) const;

  /// The number in decimal digits without grouping.
  virtual void put(std::u16string& out, unsigned long value) const;
  virtual void put(std::u16string& out, long value) const;

  /// The `count` units, zeros among them included.
  virtual void put(std::u16string& out, const wchar16* text, std::size_t count) const;

  /// Widens a text up to its terminating zero, but no more than the characters
  /// that fit `count` + 1 units: a pair that the limit would cut is left out,
  /// and what lies behind the limit is not looked at.
  virtual void put(std::u16string& out, const char* text, std::size_t count) const;

  /// Copies the text, zeros in it included, with a terminating zero.
  /// @param bufferLength units in `buffer`, which needs one more than `in`.
  virtual void get(const std::u16string& in, wchar16* buffer, std::size_t bufferLength) const;

  /// Narrows the text up to its first zero and adds a terminating zero. Text
  /// that cannot be narrowed is reported before a buffer that is too small.
  /// @param bufferLength bytes in `buffer`.
  virtual void get(const std::u16string& in, char* buffer, std::size_t bufferLength) const;

  /// "$" and the amount with six significant digits, right-aligned in four
  /// places, whatever the symbol: 1.5 is "$ 1.5".
  virtual void putMoney(std::u16string& out, double amount, SymbolType symbol) const;

  /// The process's instance, made on first use; the same until onExit().
  /// @throws std::bad_alloc if the heap refuses the instance.
  static const QVRLocale& global();

  /// Whether setlocale() would accept the name for all categories: "" stands
  /// for the environment's locale, "LC_CTYPE=...;..." for one per category.
  /// False for null. Never throws.
  static bool exists(const char* name);

  /// Deletes the process's instance: nobody may use it any more. Called at exit;
  /// a later global() makes a new one.
  static void onExit();
};
