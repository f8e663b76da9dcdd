// The signatures of identifiers that other modules compile against.
#include <cstddef>
#include <ostream>
#include <string>

#include "QVRGuid.h"
#include "QVRUUID.h"
#include "contract/Signature.h"

namespace {

using U = QVRUUID;

static_assert(sizeof(QVRGuid) == 16 && std::is_trivial_v<QVRGuid> && std::is_aggregate_v<QVRGuid>);
static_assert(std::is_same_v<decltype(QVRGuid::Data1), std::uint32_t> &&
              std::is_same_v<decltype(QVRGuid::Data2), std::uint16_t> &&
              std::is_same_v<decltype(QVRGuid::Data3), std::uint16_t> &&
              std::is_same_v<decltype(QVRGuid::Data4), std::uint8_t[8]>);
static_assert(offsetof(QVRGuid, Data2) == 4 && offsetof(QVRGuid, Data3) == 6 &&
              offsetof(QVRGuid, Data4) == 8);

static_assert(sizeof(U) == 16 && !std::is_polymorphic_v<U>);
static_assert(std::is_same_v<decltype((U::Nil)), const U&>);
static_assert(std::is_default_constructible_v<U> && makesImplicitly<U, const QVRGuid&> &&
              makesImplicitly<U, const char*> && makesImplicitly<U, const U&>);
static_assert(has<void (U::*)(const U&)>(&U::operator=) &&
              has<void (U::*)(const QVRGuid&)>(&U::operator=));
static_assert(has<void (U::*)()>(&U::generate) && has<std::string (U::*)() const>(&U::toString) &&
              has<bool (U::*)() const>(&U::isNil) &&
              has<int (U::*)(const U&) const>(&U::compareTo));
static_assert(makesImplicitly<QVRGuid, const U&> && makesImplicitly<bool, const U&>);

using Compare = bool (*)(const U&, const U&);
static_assert(has<Compare>(&operator==) && has<Compare>(&operator!=) && has<Compare>(&operator<) &&
              has<Compare>(&operator<=) && has<Compare>(&operator>) && has<Compare>(&operator>=));
static_assert(has<std::ostream& (*)(std::ostream&, const U&)>(&operator<<));

}  // namespace
