// An amount of money.
#pragma once

#include "QVRSystemExport.h"

/// An amount of money, to be told from a plain number when it is written. Never
/// throws.
class QVRSYSTEM_API QVRCurrency {
 public:
  QVRCurrency(double value) noexcept : value_(value) {}

  double getValue() const noexcept { return value_; }
  void setValue(double value) noexcept { value_ = value; }

 private:
  double value_;
};
