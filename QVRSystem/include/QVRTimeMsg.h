// A time of day as an argument of a message.
#pragma once

#include <string>

#include "QVRMsgData.h"
#include "QVRSysTime.h"

/// A time of day, written by the locale. The format letter starts as DateTime, not
/// TimeOnly: locales that go by it see a time of day as they see a date-time.
class QVRSYSTEM_API QVRTimeMsg : public QVRMsgData {
 public:
  explicit QVRTimeMsg(const QVRSysTime& value);

  QVRMsgData* clone() const override;
  std::u16string scribe(const QVRLocale& locale) const override;

 private:
  QVRSysTime value_;
};
