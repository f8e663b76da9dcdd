// A text as an argument of a message.
#pragma once

#include <string>
#include <string_view>

#include "QVRMsgData.h"

/// A text, written by the locale. Wide text is written whole; narrow text is
/// converted when it is written, up to its first zero.
///
/// Exists for `char` and `wchar16`.
template <class C>
class QVRSYSTEM_API QVRBasicStringMsg : public QVRMsgData {
 public:
  explicit QVRBasicStringMsg(const std::basic_string<C>& value);
  QVRBasicStringMsg(const QVRBasicStringMsg& other);
  QVRBasicStringMsg& operator=(const QVRBasicStringMsg& other);

  QVRMsgData* clone() const override;

  /// @throws std::runtime_error "Invalid multibyte string" if narrow text is
  ///   none in the encoding of the process.
  std::u16string scribe(const QVRLocale& locale) const override;

 private:
  friend class qvr::internal::MessageStore;
  struct Borrowed {};

  QVRBasicStringMsg(Borrowed, std::basic_string_view<C> text) : text_(text) {}

  std::basic_string<C> value_;      // empty where the text is borrowed
  std::basic_string_view<C> text_;  // with a zero behind it
};

extern template class QVRBasicStringMsg<char>;
extern template class QVRBasicStringMsg<wchar16>;
