#include "QVRDateMsg.h"

#include "QVRLocale.h"

QVRDateMsg::QVRDateMsg(const QVRSysDate& value) : value_(value) { setFormat(DateOnly); }

QVRMsgData* QVRDateMsg::clone() const { return new QVRDateMsg(*this); }

std::u16string QVRDateMsg::scribe(const QVRLocale& locale) const {
  std::u16string text;
  locale.put(text, value_, getFormat());
  justifyMsg(text);
  return text;
}
