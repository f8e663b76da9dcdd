#include "QVRMessage.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <ostream>
#include <string_view>
#include <typeinfo>
#include <utility>

#include "QVRCurrencyMsg.h"
#include "QVRDateMsg.h"
#include "QVRDateTimeMsg.h"
#include "QVRGetNumeric.h"
#include "QVRLocale.h"
#include "QVRMessageStore.h"
#include "QVRNumericMsg.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRTimeMsg.h"

using qvr::internal::MessageStore;
using qvr::internal::WideText;

namespace {

bool isDigit(wchar16 unit) { return unit >= u'0' && unit <= u'9'; }

template <class C>
std::basic_string_view<C> textOf(const C* text) {
  static constexpr C kEmpty[] = {C()};
  return text == nullptr ? kEmpty : text;
}

template <class Argument, class T>
QVRMessage& add(QVRMessage& message, const T& value) {
  MessageStore::append(message, Argument(value));
  return message;
}

/// @param text zero-terminated.
template <class C>
QVRMessage& addText(QVRMessage& message, std::basic_string_view<C> text) {
  MessageStore::append(message, MessageStore::borrow(text));
  return message;
}

QVRMessage& addCharacter(QVRMessage& message, char character) {
  const char text[] = {character, '\0'};
  return addText(message, std::string_view(text, 1));
}

/// A message that the whole process shares, made when it is first needed and
/// never destroyed: static destructors stream truth values too. A lock would
/// not do, since a fork may leave it taken in the child.
class SharedMessage {
 public:
  constexpr explicit SharedMessage(const wchar16* format) : format_(format) {}

  const QVRMessage& get() {
    const QVRMessage* made = message_.load(std::memory_order_acquire);
    return made != nullptr ? *made : make();
  }

 private:
  const QVRMessage& make() {
    auto fresh = std::make_unique<QVRMessage>(format_, nullptr, 0);
    const QVRMessage* made = nullptr;
    if (message_.compare_exchange_strong(made, fresh.get())) made = fresh.release();
    return *made;
  }

  const wchar16* const format_;
  // Set once; publishes what the thread that made the message wrote to it.
  qvr::internal::Atomic<const QVRMessage*> message_ = nullptr;
};

constinit SharedMessage trueMessage(u"true");
constinit SharedMessage falseMessage(u"false");

/// Hands one setting over to the argument, if it is not the default.
template <auto kGet, auto kSet, class T>
void spend(QVRMsgData& message, QVRMsgData& argument, T byDefault) {
  const T setting = (message.*kGet)();
  if (setting == byDefault) return;
  (argument.*kSet)(setting);
  (message.*kSet)(byDefault);
}

void spendAll(QVRMsgData& message, QVRMsgData& argument) {
  using Data = QVRMsgData;
  spend<&Data::getWidth, &Data::setWidth>(message, argument, Data::defaultWidth);
  spend<&Data::getFill, &Data::setFill>(message, argument, Data::defaultFill);
  spend<&Data::getAlignment, &Data::setAlignment>(message, argument, Data::defaultAlignment);
  spend<&Data::getPrecision, &Data::setPrecision>(message, argument, Data::defaultPrecision);
  spend<&Data::getSymbol, &Data::setSymbol>(message, argument, Data::defaultSymbol);
  spend<&Data::getFormat, &Data::setFormat>(message, argument, Data::defaultFormat);
}

/// Walks a format and writes what it stands for.
class Rendering {
 public:
  Rendering(const MessageStore& store, const QVRLocale& locale)
      : store_(store),
        format_(store.format()),
        locale_(locale),
        isPlainLocale_(typeid(locale) == typeid(QVRLocale)) {}

  std::u16string text() {
    while (position_ < format_.size()) {
      literal();
      if (position_ < format_.size() && format_[position_] == u'%') placeholder();
    }
    return text_.take();
  }

 private:
  /// Copies what comes before the next "%", or a block of it.
  void literal() {
    const std::size_t length = std::min(format_.size() - position_, WideText::kBlock);
    const wchar16* from = format_.data() + position_;
    const wchar16* const end = from + length;
    wchar16* to = text_.room(length);
    while (from != end && *from != u'%') *to++ = *from++;
    text_.extend(to);
    position_ = static_cast<std::size_t>(from - format_.data());
  }

  /// Writes what stands for the "%" at the position.
  void placeholder() {
    if (++position_ == format_.size()) return;
    const std::u16string_view digits = digitsAt(position_);
    position_ += std::max<std::size_t>(digits.size(), 1);
    if (digits.empty()) {
      text_.append(&format_[position_ - 1], 1);
    } else if (const QVRMsgData* const argument = argumentOf(digits)) {
      MessageStore::write(*argument, locale_, isPlainLocale_, text_);
    } else {
      text_.append(digits.data() - 1, digits.size() + 1);
    }
  }

  std::u16string_view digitsAt(std::size_t position) const {
    const std::u16string_view rest = format_.substr(position);
    const auto end = std::find_if_not(rest.begin(), rest.end(), isDigit);
    return rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
  }

  const QVRMsgData* argumentOf(std::u16string_view digits) const {
    const auto number =
        digits.size() == 1 ? static_cast<std::size_t>(digits[0] - u'0')
                           : static_cast<std::size_t>(QVRGetNumeric(std::u16string(digits), 0, 10));
    return number >= 1 && number <= store_.size() ? &store_[number - 1] : nullptr;
  }

  const MessageStore& store_;
  const std::u16string_view format_;
  const QVRLocale& locale_;
  std::size_t position_ = 0;
  const bool isPlainLocale_;  // no class derived from QVRLocale
  WideText text_;
};

}  // namespace

QVRMessage::QVRMessage(const wchar16* format, const char*, int)
    : store_(MessageStore::make(textOf(format))) {}

QVRMessage::QVRMessage(const QVRMessage& other)
    : QVRMsgData(other), store_(other.store_ ? other.store_->copy() : nullptr) {}

QVRMessage::QVRMessage(QVRMessage&& other) noexcept = default;

QVRMessage::~QVRMessage() = default;

QVRMessage& QVRMessage::operator=(const QVRMessage& other) {
  if (this != &other) *this = QVRMessage(other);
  return *this;
}

QVRMessage& QVRMessage::operator=(QVRMessage&& other) noexcept = default;

QVRMsgData* QVRMessage::clone() const { return new QVRMessage(*this); }

std::u16string QVRMessage::scribe(const QVRLocale& locale) const {
  std::u16string text;
  if (store_ != nullptr) text = Rendering(*store_, locale).text();
  justifyMsg(text);
  return text;
}

void QVRMessage::append(const QVRMsgData& data) {
  if (store_ == nullptr) store_ = MessageStore::make({});
  QVRMsgData* const argument = store_->add(data);
  if (argument != nullptr) spendAll(*this, *argument);
}

std::u16string QVRMessage::scribe() { return scribe(QVRLocale::global()); }

std::u16string QVRMessage::getFormatStr() const {
  return store_ != nullptr ? std::u16string(store_->format()) : std::u16string();
}

QVRMessage& operator<<(QVRMessage& message, bool value) {
  message.append((value ? trueMessage : falseMessage).get());
  return message;
}

QVRMessage& operator<<(QVRMessage& message, char value) { return addCharacter(message, value); }

QVRMessage& operator<<(QVRMessage& message, signed char value) {
  return addCharacter(message, static_cast<char>(value));
}

QVRMessage& operator<<(QVRMessage& message, unsigned char value) {
  return addCharacter(message, static_cast<char>(value));
}

QVRMessage& operator<<(QVRMessage& message, short value) {
  return add<QVRNumericMsg<short>>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, unsigned short value) {
  return add<QVRNumericMsg<unsigned short>>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, int value) {
  return add<QVRNumericMsg<int>>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, unsigned int value) {
  return add<QVRNumericMsg<unsigned int>>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, long value) {
  return add<QVRNumericMsg<long>>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, unsigned long value) {
  return add<QVRNumericMsg<unsigned long>>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, long long value) {
  return message << static_cast<long>(value);
}

QVRMessage& operator<<(QVRMessage& message, unsigned long long value) {
  return message << static_cast<unsigned long>(value);
}

QVRMessage& operator<<(QVRMessage& message, float value) {
  return add<QVRNumericMsg<float>>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, double value) {
  return add<QVRNumericMsg<double>>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, long double value) {
  return add<QVRNumericMsg<long double>>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, const char* value) {
  return addText(message, textOf(value));
}

QVRMessage& operator<<(QVRMessage& message, const std::string& value) {
  return addText<char>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, const wchar16* value) {
  return addText(message, textOf(value));
}

QVRMessage& operator<<(QVRMessage& message, const std::u16string& value) {
  return addText<wchar16>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, const QVRCurrency& value) {
  return add<QVRCurrencyMsg>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, const QVRSysDate& value) {
  return add<QVRDateMsg>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, const QVRSysTime& value) {
  return add<QVRTimeMsg>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, const QVRSysDateTime& value) {
  return add<QVRDateTimeMsg>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, const tm& value) {
  return message << QVRSysDateTime(value, 0);
}

QVRMessage& operator<<(QVRMessage& message, const QVRMessage& value) {
  message.append(value);
  return message;
}

std::ostream& operator<<(std::ostream& out, const QVRMessage& message) {
  const QVRLocale& locale = QVRLocale::global();
  const std::u16string text = message.scribe(locale);
  std::string narrow(MB_CUR_MAX * text.size() + 1, '\0');
  locale.get(text, narrow.data(), narrow.size());
  return out << narrow.c_str();
}
