#include "QVRBasicStringMsg.h"

#include "QVRLocale.h"

template <class C>
QVRBasicStringMsg<C>::QVRBasicStringMsg(const std::basic_string<C>& value)
    : value_(value), text_(value_) {}

// A copy owns its text.
template <class C>
QVRBasicStringMsg<C>::QVRBasicStringMsg(const QVRBasicStringMsg& other)
    : QVRMsgData(other), value_(other.text_), text_(value_) {}

template <class C>
QVRBasicStringMsg<C>& QVRBasicStringMsg<C>::operator=(const QVRBasicStringMsg& other) {
  value_ = other.text_;
  text_ = value_;
  QVRMsgData::operator=(other);
  return *this;
}

template <class C>
QVRMsgData* QVRBasicStringMsg<C>::clone() const {
  return new QVRBasicStringMsg(*this);
}

template <class C>
std::u16string QVRBasicStringMsg<C>::scribe(const QVRLocale& locale) const {
  std::u16string text;
  locale.put(text, text_.data(), text_.size());
  justifyMsg(text);
  return text;
}

template class QVRBasicStringMsg<char>;
template class QVRBasicStringMsg<wchar16>;
