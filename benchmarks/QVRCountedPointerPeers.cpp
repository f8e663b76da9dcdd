// The packaged libraries' pointers to objects that count their holders.
#include <Poco/AutoPtr.h>
#include <Poco/RefCountedObject.h>

#include <QExplicitlySharedDataPointer>
#include <QSharedData>
#include <boost/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include "CountedPointerBenchmark.h"

namespace {

struct BoostBody : boost::intrusive_ref_counter<BoostBody, boost::thread_safe_counter> {
  virtual ~BoostBody() = default;
};
struct QtBody : QSharedData {
  virtual ~QtBody() = default;
};
struct PocoBody : Poco::RefCountedObject {};

[[maybe_unused]] const bool isRegistered =
    timePointer(
        "boost::intrusive_ptr", +[] { return boost::intrusive_ptr<BoostBody>(new BoostBody); }) &&
    timePointer(
        "QExplicitlySharedDataPointer",
        +[] { return QExplicitlySharedDataPointer<QtBody>(new QtBody); }) &&
    timePointer(
        "Poco::AutoPtr", +[] { return Poco::AutoPtr<PocoBody>(new PocoBody); });

}  // namespace
