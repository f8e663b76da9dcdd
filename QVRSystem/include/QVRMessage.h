// Texts with numbered placeholders and typed arguments.
#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "QVRMsgData.h"

class QVRCurrency;
class QVRSysDate;
class QVRSysDateTime;
class QVRSysTime;
struct tm;

/// A wide text with the placeholders "%1", "%2", ... and an owned list of
/// arguments. It is rendered only when its text is asked for.
///
/// In the format, a "%" with digits stands for the argument of that number,
/// counted from 1; one whose number names no argument stays as it is. A "%"
/// before any other character is dropped and that character taken as it is
/// ("%%" gives "%"); a "%" at the end is dropped.
///
/// The message's own settings wait for the next argument: append() hands over
/// those that differ from their defaults and resets them. Those set after the
/// last argument justify the whole text.
///
/// @par Thread safety
/// A message is used by one thread at a time.
/// @par Cost
/// One block of memory holds the format, a list for 32 arguments, and the first
/// few arguments that operators stream. Further arguments are allocated one by
/// one; the list grows by 32.
class QVRSYSTEM_API QVRMessage : public QVRMsgData {
 public:
  /// Copies the format; null is the empty text. The source file and line are
  /// not kept: they are there for derived classes that do.
  QVRMessage(const wchar16* format, const char* srcFile, int srcLine);

  /// Copies the format, the arguments and the six settings.
  /// @throws whatever clone() of an argument does; nothing is lost then.
  QVRMessage(const QVRMessage& other);

  /// Takes format and arguments over and leaves a message without either.
  QVRMessage(QVRMessage&& other) noexcept;

  ~QVRMessage() override;

  /// As the copy: where it throws, this message is as it was.
  QVRMessage& operator=(const QVRMessage& other);
  QVRMessage& operator=(QVRMessage&& other) noexcept;

  QVRMsgData* clone() const override;

  /// @return the rendered text, justified to this message's own width.
  /// @throws what the locale throws; std::bad_alloc.
  std::u16string scribe(const QVRLocale& locale) const override;

  /// Adds a clone of `data` (the message itself, too) as the last argument and
  /// spends the waiting settings on it. Adds nothing where the clone is null.
  /// @throws std::bad_alloc, whatever the clone() throws; nothing has changed
  ///   then.
  virtual void append(const QVRMsgData& data);

  /// The text in the process's global locale.
  virtual std::u16string scribe();

  std::u16string getFormatStr() const;

 private:
  // Null in a message that was moved from: no format, no arguments.
  std::unique_ptr<qvr::internal::MessageStore> store_;
};

/// Each adds one argument with default settings and returns the message. A null
/// text is the empty one; one of the three character types is a text of one
/// character.
/// @throws what append() does.
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, bool value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, char value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, signed char value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, unsigned char value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, short value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, unsigned short value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, int value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, unsigned int value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, long value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, unsigned long value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, long long value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, unsigned long long value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, float value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, double value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, long double value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const char* value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const std::string& value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const wchar16* value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const std::u16string& value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const QVRCurrency& value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const QVRSysDate& value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const QVRSysTime& value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const QVRSysDateTime& value);
/// A local time, streamed as the QVRSysDateTime that it makes.
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const tm& value);
QVRSYSTEM_API QVRMessage& operator<<(QVRMessage& message, const QVRMessage& value);
/// Other pointers would be streamed as a bool.
template <class T>
QVRMessage& operator<<(QVRMessage& message, const T* value) = delete;

/// One setting on its way into a message.
template <class T>
class QVRMsgManipulator {
 public:
  using Setter = void (QVRMsgData::*)(T);

  QVRMsgManipulator(Setter setter, T value) : setter_(setter), value_(value) {}

  void applyTo(QVRMsgData& data) const { (data.*setter_)(value_); }

 private:
  Setter setter_;
  T value_;
};

/// Sets the message's own setting, which waits for the next argument.
template <class T>
QVRMessage& operator<<(QVRMessage& message, const QVRMsgManipulator<T>& manipulator) {
  manipulator.applyTo(message);
  return message;
}

inline QVRMsgManipulator<unsigned> QVRSetWidth(unsigned width) {
  return {&QVRMsgData::setWidth, width};
}

inline QVRMsgManipulator<wchar16> QVRSetFill(wchar16 fill) { return {&QVRMsgData::setFill, fill}; }

inline QVRMsgManipulator<QVRMsgBase::AlignmentType> QVRSetAlignment(
    QVRMsgBase::AlignmentType alignment) {
  return {&QVRMsgData::setAlignment, alignment};
}

inline QVRMsgManipulator<unsigned> QVRSetPrecision(unsigned precision) {
  return {&QVRMsgData::setPrecision, precision};
}

inline QVRMsgManipulator<QVRMsgBase::SymbolType> QVRSetSymbol(QVRMsgBase::SymbolType symbol) {
  return {&QVRMsgData::setSymbol, symbol};
}

inline QVRMsgManipulator<char> QVRSetFormat(char format) {
  return {&QVRMsgData::setFormat, format};
}

/// Writes the text in the global locale, narrowed through it up to its first
/// zero.
/// @throws std::runtime_error "Invalid wide-character string" if the text
///   cannot be narrowed; the stream is as it was.
QVRSYSTEM_API std::ostream& operator<<(std::ostream& out, const QVRMessage& message);
