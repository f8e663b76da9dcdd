// What messages, their arguments and locales share.
#pragma once

#include "QVRSystemExport.h"
#include "QVRTypes.h"

/// The enumerations and constants of messages, and the root of their classes.
class QVRSYSTEM_API QVRMsgBase {
 public:
  /// Where the text stands within its width.
  enum AlignmentType : int { AlignLeft = 0, AlignCenter = 1, AlignRight = 2 };

  /// The kind of currency symbol that is asked of a locale.
  enum SymbolType : int { NoSymbol = 0, LocalSymbol = 1, InternationalSymbol = 2 };

  /// Format letters of dates and times: the conversion letters of strftime.
  static constexpr char DateOnly = 'x';
  static constexpr char TimeOnly = 'X';
  static constexpr char DateTime = 'c';

  virtual ~QVRMsgBase();

 protected:
  QVRMsgBase() = default;
  QVRMsgBase(const QVRMsgBase&) = default;
  QVRMsgBase& operator=(const QVRMsgBase&) = default;
};
