#include "QVRMessage.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <new>
#include <ostream>
#include <utility>

#include "QVRBasicStringMsg.h"
#include "QVRCurrencyMsg.h"
#include "QVRDateMsg.h"
#include "QVRDateTimeMsg.h"
#include "QVRGetNumeric.h"
#include "QVRLocale.h"
#include "QVRNumericMsg.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRTimeMsg.h"

namespace {

/// The list of arguments grows by this many.
constexpr std::size_t kArgumentStep = 32;

/// The room for `count` arguments and one more.
constexpr std::size_t roomFor(std::size_t count) {
  return ((count + 1) / kArgumentStep + 1) * kArgumentStep;
}

bool isDigit(wchar16 unit) { return unit >= u'0' && unit <= u'9'; }

template <class C>
std::basic_string<C> textOf(const C* text) {
  return text == nullptr ? std::basic_string<C>() : std::basic_string<C>(text);
}

template <class Argument, class T>
QVRMessage& add(QVRMessage& message, const T& value) {
  message.append(Argument(value));
  return message;
}

using NarrowMsg = QVRBasicStringMsg<char>;
using WideMsg = QVRBasicStringMsg<wchar16>;

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
template <class T>
void spend(QVRMsgData& message, QVRMsgData& argument, T (QVRMsgData::*get)() const,
           void (QVRMsgData::*set)(T), T byDefault) {
  const T setting = (message.*get)();
  if (setting == byDefault) return;
  (argument.*set)(setting);
  (message.*set)(byDefault);
}

void spendAll(QVRMsgData& message, QVRMsgData& argument) {
  using Data = QVRMsgData;
  spend(message, argument, &Data::getWidth, &Data::setWidth, Data::defaultWidth);
  spend(message, argument, &Data::getFill, &Data::setFill, Data::defaultFill);
  spend(message, argument, &Data::getAlignment, &Data::setAlignment, Data::defaultAlignment);
  spend(message, argument, &Data::getPrecision, &Data::setPrecision, Data::defaultPrecision);
  spend(message, argument, &Data::getSymbol, &Data::setSymbol, Data::defaultSymbol);
  spend(message, argument, &Data::getFormat, &Data::setFormat, Data::defaultFormat);
}

}  // namespace

QVRMessage::QVRMessage(const wchar16* format, const char*, int) : format_(textOf(format)) {
  arguments_.reserve(roomFor(0));
}

QVRMessage::QVRMessage(const QVRMessage& other)
    : QVRMsgData(other), format_(other.format_), arguments_(copyOf(other.arguments_)) {}

QVRMessage::QVRMessage(QVRMessage&& other) noexcept
    : QVRMsgData(other),
      format_(std::exchange(other.format_, {})),
      arguments_(std::exchange(other.arguments_, {})) {}

QVRMessage::~QVRMessage() = default;

QVRMessage& QVRMessage::operator=(const QVRMessage& other) {
  if (this != &other) *this = QVRMessage(other);
  return *this;
}

QVRMessage& QVRMessage::operator=(QVRMessage&& other) noexcept {
  QVRMsgData::operator=(other);
  format_ = std::exchange(other.format_, {});
  arguments_ = std::exchange(other.arguments_, {});
  return *this;
}

QVRMsgData* QVRMessage::clone() const { return new QVRMessage(*this); }

std::u16string QVRMessage::scribe(const QVRLocale& locale) const {
  std::u16string text;
  std::size_t position = 0;
  while (position < format_.size()) {
    const std::size_t percent = std::min(format_.find(u'%', position), format_.size());
    text.append(format_, position, percent - position);
    position = scribePlaceholder(percent + 1, locale, text);
  }
  justifyMsg(text);
  return text;
}

/// Appends what stands for the "%" before `start`. @return where the format goes
/// on.
std::size_t QVRMessage::scribePlaceholder(std::size_t start, const QVRLocale& locale,
                                          std::u16string& text) const {
  if (start >= format_.size()) return start;
  if (!isDigit(format_[start])) {
    text += format_[start];
    return start + 1;
  }
  const auto end = static_cast<std::size_t>(
      std::find_if_not(format_.begin() + static_cast<std::ptrdiff_t>(start), format_.end(),
                       isDigit) -
      format_.begin());
  const std::int32_t number = QVRGetNumeric(format_, start, 10);
  if (number >= 1 && static_cast<std::size_t>(number) <= arguments_.size()) {
    text += arguments_[static_cast<std::size_t>(number) - 1]->scribe(locale);
  } else {
    text.append(format_, start - 1, end - start + 1);
  }
  return end;
}

void QVRMessage::append(const QVRMsgData& data) {
  std::unique_ptr<QVRMsgData> argument(data.clone());
  if (argument == nullptr) return;
  // Whatever needs memory comes before the settings are spent.
  if (arguments_.size() == arguments_.capacity()) arguments_.reserve(roomFor(arguments_.size()));
  spendAll(*this, *argument);
  arguments_.push_back(std::move(argument));
}

std::u16string QVRMessage::scribe() { return scribe(QVRLocale::global()); }

QVRMessage::Arguments QVRMessage::copyOf(const Arguments& arguments) {
  Arguments copy;
  copy.reserve(roomFor(arguments.size()));
  for (const auto& argument : arguments) {
    copy.emplace_back(argument->clone());
    // An exception that finds no storage answers null.
    if (copy.back() == nullptr) throw std::bad_alloc();
  }
  return copy;
}

QVRMessage& operator<<(QVRMessage& message, bool value) {
  message.append((value ? trueMessage : falseMessage).get());
  return message;
}

QVRMessage& operator<<(QVRMessage& message, char value) {
  return add<NarrowMsg>(message, std::string(1, value));
}

QVRMessage& operator<<(QVRMessage& message, signed char value) {
  return add<NarrowMsg>(message, std::string(1, static_cast<char>(value)));
}

QVRMessage& operator<<(QVRMessage& message, unsigned char value) {
  return add<NarrowMsg>(message, std::string(1, static_cast<char>(value)));
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
  return add<NarrowMsg>(message, textOf(value));
}

QVRMessage& operator<<(QVRMessage& message, const std::string& value) {
  return add<NarrowMsg>(message, value);
}

QVRMessage& operator<<(QVRMessage& message, const wchar16* value) {
  return add<WideMsg>(message, textOf(value));
}

QVRMessage& operator<<(QVRMessage& message, const std::u16string& value) {
  return add<WideMsg>(message, value);
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
