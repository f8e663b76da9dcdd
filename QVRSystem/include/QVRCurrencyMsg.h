// An amount of money as an argument of a message.
#pragma once

#include <string>

#include "QVRCurrency.h"
#include "QVRMsgData.h"

/// An amount of money, written by the locale with the symbol asked for.
class QVRSYSTEM_API QVRCurrencyMsg : public QVRMsgData {
 public:
  explicit QVRCurrencyMsg(const QVRCurrency& value);

  QVRMsgData* clone() const override;
  std::u16string scribe(const QVRLocale& locale) const override;

 private:
  QVRCurrency value_;
};
