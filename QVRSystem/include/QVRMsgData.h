// The formatting settings of one argument of a message.
#pragma once

#include <string>

#include "QVRMsgBase.h"

class QVRLocale;

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
  unsigned getWidth() const { return width_; }
  void setWidth(unsigned width) { width_ = width; }

  /// What fills up a text shorter than the width.
  wchar16 getFill() const { return fill_; }
  void setFill(wchar16 fill) { fill_ = fill; }

  /// A value that AlignmentType does not name switches the filling off.
  AlignmentType getAlignment() const { return alignment_; }
  void setAlignment(AlignmentType alignment) { alignment_ = alignment; }

  /// Significant digits of floating-point values.
  unsigned getPrecision() const { return precision_; }
  void setPrecision(unsigned precision) { precision_ = precision; }

  SymbolType getSymbol() const { return symbol_; }
  void setSymbol(SymbolType symbol) { symbol_ = symbol; }

  /// The letter given to the locale with a date or a time.
  char getFormat() const { return format_; }
  void setFormat(char format) { format_ = format; }

 protected:
  QVRMsgData() = default;
  QVRMsgData(const QVRMsgData&) = default;
  QVRMsgData& operator=(const QVRMsgData&) = default;

  /// Fills the text up to the width: after it (left), before it (right), or on
  /// both sides (centre), where an odd one goes to the end.
  /// @throws std::bad_alloc if the heap refuses a text of that width.
  void justifyMsg(std::u16string& text) const;

 private:
  unsigned width_ = defaultWidth;
  wchar16 fill_ = defaultFill;
  AlignmentType alignment_ = defaultAlignment;
  unsigned precision_ = defaultPrecision;
  SymbolType symbol_ = defaultSymbol;
  char format_ = defaultFormat;
};
