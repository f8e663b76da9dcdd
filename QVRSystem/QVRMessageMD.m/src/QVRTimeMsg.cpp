#include "QVRTimeMsg.h"

#include "QVRLocale.h"

QVRTimeMsg::QVRTimeMsg(const QVRSysTime& value) : value_(value) { setFormat(DateTime); }

QVRMsgData* QVRTimeMsg::clone() const { return new QVRTimeMsg(*this); }

std::u16string QVRTimeMsg::scribe(const QVRLocale& locale) const {
  std::u16string text;
  locale.put(text, value_, getFormat());
  justifyMsg(text);
  return text;
}
