#include "QVRNumericMsg.h"

#include <type_traits>

#include "QVRLocale.h"

template <class T>
QVRNumericMsg<T>::QVRNumericMsg(T value) : value_(value) {}

template <class T>
QVRMsgData* QVRNumericMsg<T>::clone() const {
  return new QVRNumericMsg(*this);
}

template <class T>
std::u16string QVRNumericMsg<T>::scribe(const QVRLocale& locale) const {
  std::u16string text;
  if constexpr (std::is_floating_point_v<T>) {
    locale.put(text, static_cast<double>(value_), getPrecision());
  } else if constexpr (std::is_signed_v<T>) {
    locale.put(text, static_cast<long>(value_));
  } else {
    locale.put(text, static_cast<unsigned long>(value_));
  }
  justifyMsg(text);
  return text;
}

template class QVRNumericMsg<short>;
template class QVRNumericMsg<unsigned short>;
template class QVRNumericMsg<int>;
template class QVRNumericMsg<unsigned int>;
template class QVRNumericMsg<long>;
template class QVRNumericMsg<unsigned long>;
template class QVRNumericMsg<float>;
template class QVRNumericMsg<double>;
template class QVRNumericMsg<long double>;
