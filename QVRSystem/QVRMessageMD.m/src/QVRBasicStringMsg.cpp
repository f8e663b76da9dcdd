#include "QVRBasicStringMsg.h"

#include "QVRLocale.h"

template <class C>
QVRBasicStringMsg<C>::QVRBasicStringMsg(const std::basic_string<C>& value) : value_(value) {}

template <class C>
QVRMsgData* QVRBasicStringMsg<C>::clone() const {
  return new QVRBasicStringMsg(*this);
}

template <class C>
std::u16string QVRBasicStringMsg<C>::scribe(const QVRLocale& locale) const {
  std::u16string text;
  locale.put(text, value_.c_str(), value_.size());
  justifyMsg(text);
  return text;
}

template class QVRBasicStringMsg<char>;
template class QVRBasicStringMsg<wchar16>;
