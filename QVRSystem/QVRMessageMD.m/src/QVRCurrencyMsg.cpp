#include "QVRCurrencyMsg.h"

#include "QVRLocale.h"

QVRCurrencyMsg::QVRCurrencyMsg(const QVRCurrency& value) : value_(value) {}

QVRMsgData* QVRCurrencyMsg::clone() const { return new QVRCurrencyMsg(*this); }

std::u16string QVRCurrencyMsg::scribe(const QVRLocale& locale) const {
  std::u16string text;
  locale.putMoney(text, value_.getValue(), getSymbol());
  justifyMsg(text);
  return text;
}
