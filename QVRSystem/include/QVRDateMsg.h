// A calendar date as an argument of a message.
#pragma once

#include <string>

#include "QVRMsgData.h"
#include "QVRSysDate.h"

/// A calendar date, written by the locale. The format letter starts as DateOnly.
class QVRSYSTEM_API QVRDateMsg : public QVRMsgData {
 public:
  explicit QVRDateMsg(const QVRSysDate& value);

  QVRMsgData* clone() const override;
  std::u16string scribe(const QVRLocale& locale) const override;

 private:
  QVRSysDate value_;
};
