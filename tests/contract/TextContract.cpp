// The signatures of messages, locales, traces and exceptions that other modules
// compile against.
#include <ostream>
#include <string>

#include "QVRBasicStringMsg.h"
#include "QVRCurrency.h"
#include "QVRCurrencyMsg.h"
#include "QVRDateMsg.h"
#include "QVRDateTimeMsg.h"
#include "QVREFileNotFound.h"
#include "QVRELogicError.h"
#include "QVREOutOfRange.h"
#include "QVRERuntimeError.h"
#include "QVRException.h"
#include "QVRLocale.h"
#include "QVRMessage.h"
#include "QVRNumericMsg.h"
#include "QVRSysDate.h"
#include "QVRSysDateTime.h"
#include "QVRSysTime.h"
#include "QVRTimeMsg.h"
#include "QVRTraceCall.h"
#include "QVRTraceLog.h"
#include "contract/Signature.h"

namespace message {

using B = QVRMsgBase;
static_assert(B::AlignLeft == 0 && B::AlignCenter == 1 && B::AlignRight == 2);
static_assert(B::NoSymbol == 0 && B::LocalSymbol == 1 && B::InternationalSymbol == 2);
static_assert(B::DateOnly == 'x' && B::TimeOnly == 'X' && B::DateTime == 'c');
static_assert(std::has_virtual_destructor_v<B>);

using D = QVRMsgData;
static_assert(std::is_base_of_v<B, D> && std::is_abstract_v<D>);
static_assert(std::is_same_v<decltype(D::defaultWidth), const unsigned> && D::defaultWidth == 0);
static_assert(std::is_same_v<decltype(D::defaultFill), const char16_t> && D::defaultFill == 32);
static_assert(D::defaultAlignment == B::AlignRight && D::defaultPrecision == 6 &&
              D::defaultSymbol == B::LocalSymbol && D::defaultFormat == 'c');
static_assert(has<D* (D::*)() const>(&D::clone) &&
              has<std::u16string (D::*)(const QVRLocale&) const>(&D::scribe));
static_assert(has<unsigned (D::*)() const>(&D::getWidth) &&
              has<void (D::*)(unsigned)>(&D::setWidth) &&
              has<char16_t (D::*)() const>(&D::getFill) &&
              has<void (D::*)(char16_t)>(&D::setFill) &&
              has<B::AlignmentType (D::*)() const>(&D::getAlignment) &&
              has<void (D::*)(B::AlignmentType)>(&D::setAlignment) &&
              has<unsigned (D::*)() const>(&D::getPrecision) &&
              has<void (D::*)(unsigned)>(&D::setPrecision) &&
              has<B::SymbolType (D::*)() const>(&D::getSymbol) &&
              has<void (D::*)(B::SymbolType)>(&D::setSymbol) &&
              has<char (D::*)() const>(&D::getFormat) && has<void (D::*)(char)>(&D::setFormat));
static_assert(!std::is_copy_assignable_v<D>);

using M = QVRMessage;
static_assert(std::is_base_of_v<D, M>);
static_assert(std::is_constructible_v<M, const char16_t*, const char*, int> &&
              !std::is_constructible_v<M, const char16_t*> && !std::is_default_constructible_v<M>);
static_assert(std::is_copy_constructible_v<M> && std::is_copy_assignable_v<M>);
static_assert(has<D* (M::*)() const>(&M::clone) && has<void (M::*)(const D&)>(&M::append) &&
              has<std::u16string (M::*)(const QVRLocale&) const>(&M::scribe) &&
              has<std::u16string (M::*)()>(&M::scribe));
static_assert(has<std::u16string (M::*)() const>(&M::getFormatStr));

template <class... Ts>
consteval bool streams() {
  return (std::is_same_v<decltype(std::declval<M&>() << std::declval<Ts>()), M&> && ...);
}
static_assert(
    streams<bool, char, signed char, unsigned char, short, unsigned short, int, unsigned, long,
            unsigned long, long long, unsigned long long, float, double, long double>());
static_assert(streams<const char*, char*, std::string, const char16_t*, std::u16string, QVRCurrency,
                      QVRSysDate, QVRSysTime, QVRSysDateTime, tm, M, QVREFileNotFound>());
static_assert(streams<decltype(QVRSetWidth(5u)), decltype(QVRSetFill(u'*')),
                      decltype(QVRSetAlignment(B::AlignLeft)), decltype(QVRSetPrecision(3u)),
                      decltype(QVRSetSymbol(B::NoSymbol)), decltype(QVRSetFormat('x'))>());
static_assert(std::is_same_v<decltype(std::declval<std::ostream&>() << std::declval<const M&>()),
                             std::ostream&>);

static_assert(makesExplicitly<QVRNumericMsg<int>, int> &&
              makesExplicitly<QVRNumericMsg<long double>, long double> &&
              makesExplicitly<QVRBasicStringMsg<char>, const std::string&> &&
              makesExplicitly<QVRBasicStringMsg<char16_t>, const std::u16string&> &&
              makesExplicitly<QVRCurrencyMsg, const QVRCurrency&> &&
              makesExplicitly<QVRDateMsg, const QVRSysDate&> &&
              makesExplicitly<QVRTimeMsg, const QVRSysTime&> &&
              makesExplicitly<QVRDateTimeMsg, const QVRSysDateTime&>);
static_assert(makesImplicitly<QVRCurrency, double> &&
              has<double (QVRCurrency::*)() const>(&QVRCurrency::getValue) &&
              has<void (QVRCurrency::*)(double)>(&QVRCurrency::setValue));

}  // namespace message

namespace locale {

using L = QVRLocale;
using W = std::u16string;
static_assert(std::is_base_of_v<QVRMsgBase, L> && sizeof(L) == sizeof(void*));
static_assert(makesExplicitly<L, const char*>);
static_assert(has<const L& (*)()>(&L::global) && has<bool (*)(const char*)>(&L::exists) &&
              has<void (*)()>(&L::onExit));
static_assert(has<std::size_t (L::*)(const char16_t*) const>(&L::length) &&
              has<std::size_t (L::*)(const char*, std::size_t) const>(&L::length));
static_assert(has<void (L::*)(W&, const QVRSysDate&, char) const>(&L::put) &&
              has<void (L::*)(W&, const QVRSysTime&, char) const>(&L::put) &&
              has<void (L::*)(W&, const QVRSysDateTime&, char) const>(&L::put) &&
              has<void (L::*)(W&, const tm&, char) const>(&L::put) &&
              has<void (L::*)(W&, double, unsigned) const>(&L::put) &&
              has<void (L::*)(W&, unsigned long) const>(&L::put) &&
              has<void (L::*)(W&, long) const>(&L::put) &&
              has<void (L::*)(W&, const char16_t*, std::size_t) const>(&L::put) &&
              has<void (L::*)(W&, const char*, std::size_t) const>(&L::put));
static_assert(has<void (L::*)(const W&, char16_t*, std::size_t) const>(&L::get) &&
              has<void (L::*)(const W&, char*, std::size_t) const>(&L::get));
static_assert(has<void (L::*)(W&, double, QVRMsgBase::SymbolType) const>(&L::putMoney));

}  // namespace locale

namespace trace {

static_assert(QVRTraceLevelNone == 0 && QVRTraceLevelFatal == 1 && QVRTraceLevelError == 2 &&
              QVRTraceLevelWarning == 3 && QVRTraceLevelInfo == 4 && QVRTraceLevelDebug == 5 &&
              QVRTraceLevelCall == 6 && QVRTraceLevelUnspec == 7);
using T = QVRTraceLog;
static_assert(std::has_virtual_destructor_v<T> && !std::is_copy_constructible_v<T> &&
              !std::is_copy_assignable_v<T> && !std::is_move_constructible_v<T>);
static_assert(std::is_constructible_v<T, const std::string&, QVRTraceLevel, std::string>);
static_assert(has<std::string (T::*)() const>(&T::getName) &&
              has<void (T::*)(QVRTraceLevel)>(&T::setLevel) &&
              has<QVRTraceLevel (T::*)() const>(&T::getLevel) &&
              has<bool (T::*)(QVRTraceLevel) const>(&T::detLevel) &&
              has<void (T::*)(const std::string&)>(&T::SetFormat) &&
              has<std::string (T::*)() const>(&T::GetFormat));
static_assert(has<void (T::*)()>(&T::acquireLock) && has<void (T::*)()>(&T::releaseLock));
static_assert(has<std::ostream& (T::*)(QVRTraceLevel, const char*)>(&T::write) &&
              has<std::ostream& (T::*)(QVRTraceLevel, const char*, int)>(&T::write));
static_assert(has<void (*)(QVRTraceLevel)>(&T::SetDefaultLevel) &&
              has<QVRTraceLevel (*)()>(&T::GetDefaultLevel) &&
              has<std::string (*)()>(&T::GetDefaultFormat) &&
              has<std::ostream& (*)()>(&T::GetDefaultStream) &&
              has<void (*)(const std::string&)>(&T::SetDefaultFormat) &&
              has<void (*)(std::ostream&)>(&T::SetDefaultStream) &&
              has<int (*)(const std::string&)>(&T::SetDefaultStream));
static_assert(std::is_same_v<decltype((QVRSystemTrace)), T&> &&
              std::is_same_v<decltype((QVRBuildTrace)), T&>);
static_assert(std::is_constructible_v<QVRTraceCall, T&, const char*> &&
              !std::is_copy_constructible_v<QVRTraceCall>);

}  // namespace trace

namespace exceptions {

using E = QVRException;
static_assert(std::is_base_of_v<std::exception, E> && std::is_base_of_v<QVRMessage, E>);
static_assert(std::is_base_of_v<E, QVRELogicError> && std::is_base_of_v<E, QVRERuntimeError> &&
              std::is_base_of_v<QVRELogicError, QVREOutOfRange> &&
              std::is_base_of_v<QVRERuntimeError, QVREFileNotFound>);
static_assert(std::is_constructible_v<QVREOutOfRange, const char16_t*, const char*, int> &&
              !std::is_constructible_v<QVREOutOfRange, const char16_t*> &&
              std::is_copy_constructible_v<QVREOutOfRange>);
static_assert(has<const char* (E::*)() const noexcept>(&E::what) &&
              has<const char* (E::*)() const>(&E::where) && has<void (E::*)() const>(&E::raise) &&
              has<QVRMsgData* (E::*)() const>(&E::clone) &&
              has<const char* (E::*)() const>(&E::getSrcFile) &&
              has<int (E::*)() const>(&E::getSrcLine));
static_assert(std::is_void_v<decltype(std::declval<E&>() = std::declval<const E&>())>);

}  // namespace exceptions
