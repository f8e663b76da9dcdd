// A date-time as an argument of a message.
#pragma once

#include <string>

#include "QVRMsgData.h"
#include "QVRSysDateTime.h"

/// A date-time, written by the locale. The format letter starts as DateTime.
class QVRSYSTEM_API QVRDateTimeMsg : public QVRMsgData {
 public:
  explicit QVRDateTimeMsg(const QVRSysDateTime& value);

  QVRMsgData* clone() const override;
  std::u16string scribe(const QVRLocale& locale) const override;

 private:
  QVRSysDateTime value_;
};
