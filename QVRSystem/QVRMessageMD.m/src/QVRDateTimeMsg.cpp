#include "QVRDateTimeMsg.h"

#include "QVRLocale.h"

QVRDateTimeMsg::QVRDateTimeMsg(const QVRSysDateTime& value) : value_(value) { setFormat(DateTime); }

QVRMsgData* QVRDateTimeMsg::clone() const { return new QVRDateTimeMsg(*this); }

std::u16string QVRDateTimeMsg::scribe(const QVRLocale& locale) const {
  std::u16string text;
  locale.put(text, value_, getFormat());
  justifyMsg(text);
  return text;
}
