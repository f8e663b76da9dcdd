// A number as an argument of a message.
#pragma once

#include <string>

#include "QVRMsgData.h"

/// A number, written by the locale: integers through its `long` or `unsigned
/// long`, floating-point values through its `double` with the precision.
///
/// Exists for the types named at the end of this header.
template <class T>
class QVRSYSTEM_API QVRNumericMsg : public QVRMsgData {
 public:
  explicit QVRNumericMsg(T value);

  QVRMsgData* clone() const override;
  std::u16string scribe(const QVRLocale& locale) const override;

 private:
  friend class qvr::internal::MessageStore;

  T value_;
};

extern template class QVRNumericMsg<short>;
extern template class QVRNumericMsg<unsigned short>;
extern template class QVRNumericMsg<int>;
extern template class QVRNumericMsg<unsigned int>;
extern template class QVRNumericMsg<long>;
extern template class QVRNumericMsg<unsigned long>;
extern template class QVRNumericMsg<float>;
extern template class QVRNumericMsg<double>;
extern template class QVRNumericMsg<long double>;
