// The formatting settings of one argument of a message.
#pragma once

#include <string>

#include "QVRMsgBase.h"

class QVRLocale;

namespace qvr::internal {
struct ArgumentKind;
class MessageStore;
}  // namespace qvr::internal

/// One argument of a message: a value, which derived classes hold, and the six
/// settings with which it becomes text. Nothing is formatted before scribe().
///
/// @par Thread safety
/// An object is used by one thread at a time.
class QVRSYSTEM_API QVRMsgData : public QVRMsgBase {
 public:
  static constexpr unsigned defaultWidth = 0;
  static constexpr wchar16 defaultFill = u' ';
  static constexpr AlignmentType defaultAlignment = AlignRight;
  static constexpr unsigned defaultPrecision = 6;
  static constexpr SymbolType defaultSymbol = LocalSymbol;
  static constexpr char defaultFormat = DateTime;

  ~QVRMsgData() override;

  /// @return a copy on the heap, of the same most-derived class, which the
  ///   caller deletes. Null only from an exception whose own storage cannot be
  ///   had.
  /// @throws std::bad_alloc for every other lack of memory.
  virtual QVRMsgData* clone() const = 0;

  /// @return the value as text of this locale, justified to the width.
  /// @throws std::runtime_error if the locale cannot convert the value.
  virtual std::u16string scribe(const QVRLocale& locale) const = 0;

  /// The least length of the text, in code units.
  unsigned getWidth() const { return settings_.width; }
  void setWidth(unsigned width) { settings_.width = width; }

  /// What fills up a text shorter than the width.
  wchar16 getFill() const { return settings_.fill; }
  void setFill(wchar16 fill) { settings_.fill = fill; }

  /// A value that AlignmentType does not name switches the filling off.
  AlignmentType getAlignment() const { return settings_.alignment; }
  void setAlignment(AlignmentType alignment) { settings_.alignment = alignment; }

  /// Significant digits of floating-point values.
  unsigned getPrecision() const { return settings_.precision; }
  void setPrecision(unsigned precision) { settings_.precision = precision; }

  SymbolType getSymbol() const { return settings_.symbol; }
  void setSymbol(SymbolType symbol) { settings_.symbol = symbol; }

  /// The letter given to the locale with a date or a time.
  char getFormat() const { return settings_.format; }
  void setFormat(char format) { settings_.format = format; }

 protected:
  QVRMsgData() = default;
  QVRMsgData(const QVRMsgData& other) : QVRMsgBase(other), settings_(other.settings_) {}
  QVRMsgData& operator=(const QVRMsgData& other) {
    if (this != &other) settings_ = other.settings_;
    return *this;
  }

  /// Fills the text up to the width: after it (left), before it (right), or on
  /// both sides (centre), where an odd one goes to the end.
  /// @throws std::bad_alloc if the heap refuses a text of that width.
  void justifyMsg(std::u16string& text) const;

 private:
  friend class qvr::internal::MessageStore;

  struct Settings {
    unsigned width = defaultWidth;
    wchar16 fill = defaultFill;
    AlignmentType alignment = defaultAlignment;
    unsigned precision = defaultPrecision;
    SymbolType symbol = defaultSymbol;
    char format = defaultFormat;
  };

  Settings settings_;
  // Known only where the exact class is, and so never copied along; null otherwise.
  const qvr::internal::ArgumentKind* kind_ = nullptr;
};
