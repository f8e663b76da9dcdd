// What records tell, and how they compare.
#include "QVRClassInfo.h"

#include <gtest/gtest.h>

#include <functional>
#include <locale>
#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "QVRCountedObject.h"
#include "support/AllocationRefuser.h"
#include "support/FlushedBuffer.h"

struct QVRClassInfoTestAccess {
  static std::string filter(const char* name) { return QVRClassInfo::FilterClassName(name); }
};

// What records describe here need not be dynamic classes.
namespace garden {

struct Valve {
  struct Seat {};
};
template <class... Parts>
class Box {};
struct ClassWithALongName {};
struct AnotherClassWithALongName {};

}  // namespace garden

namespace {

struct A {};
struct B {};
struct C {};
struct D {};

template <class Class>
QVRClassInfo recordOf(const QVRClassInfo* base1 = nullptr, const QVRClassInfo* base2 = nullptr) {
  return {typeid(Class*), sizeof(Class), nullptr, base1, base2};
}

std::string describe(const QVRClassInfo& info) {
  std::ostringstream out;
  out << info;
  return out.str();
}

static_assert(!std::is_polymorphic_v<QVRClassInfo>);
static_assert(std::is_copy_constructible_v<QVRClassInfo> &&
              std::is_copy_assignable_v<QVRClassInfo>);

TEST(QVRClassInfoTest, FiltersTheReadableName) {
  const struct {
    const char* raw;
    const char* name;
  } cases[] = {
      {"class QVRCountedObject * __ptr64", "QVRCountedObject"},
      {"struct QVRBar * __ptr64", "QVRBar"},
      {"union QVRUnion * __ptr64", "QVRUnion"},
      {"class ns::QVRBaz * __ptr64", "ns::QVRBaz"},
      {"class ns::Outer::Inner * __ptr64", "ns::Outer::Inner"},
      {"class std::exception * __ptr64", "exception"},
      {"class Box<class std::pair<int, struct Foo> > * __ptr64", "Box<pair<int,Foo>>"},
      {"QVRFoo*", "QVRFoo"},
      {"garden::Box<int, long>*", "garden::Box<int,long>"},
      // Without a star nothing is filtered.
      {"", ""},
      {"class QVRFoo", "class QVRFoo"},
      {"struct std::QVRFoo __ptr64", "struct std::QVRFoo __ptr64"},
      // One star and one __ptr64 go, the last of each, wherever they are.
      {"*", ""},
      {"QVRFoo**", "QVRFoo*"},
      {"Box<QVRFoo*>*", "Box<QVRFoo*>"},
      {"Box<QVRFoo*>", "Box<QVRFoo>"},
      {"class QVRFoo * __ptr64 * __ptr64", "QVRFoo*__ptr64"},
      {"__ptr64 QVRFoo*", "QVRFoo"},
      // Each step is repeated from the beginning, and none comes back to an earlier one.
      {"clclass ass QVRFoo*", "QVRFoo"},
      {"struct class QVRFoo*", "QVRFoo"},
      {"clastruct ss QVRFoo*", "classQVRFoo"},
      {"ststd::d::QVRFoo*", "QVRFoo"},
      {"std class ::QVRFoo*", "std::QVRFoo"},
      {"stdclass ::QVRFoo*", "QVRFoo"},
      {" Q V R *", "QVR"},
      // Letters, not words.
      {"Myclass QVRFoo*", "MyQVRFoo"},
      {"mystd::QVRFoo*", "myQVRFoo"},
  };
  for (const auto& c : cases) EXPECT_EQ(QVRClassInfoTestAccess::filter(c.raw), c.name) << c.raw;
}

TEST(QVRClassInfoTest, NameIsThatOfTheClassAsWrittenInItsSource) {
  const struct {
    const std::type_info& type;
    const char* name;
  } cases[] = {
      {typeid(QVRCountedObject*), "QVRCountedObject"},
      {typeid(garden::Valve*), "garden::Valve"},
      {typeid(garden::Valve::Seat*), "garden::Valve::Seat"},
      {typeid(garden::Box<>*), "garden::Box<>"},
      {typeid(garden::Box<int, garden::Valve*>*), "garden::Box<int,garden::Valve*>"},
      {typeid(garden::Box<unsigned long>*), "garden::Box<unsignedlong>"},
      {typeid(std::exception*), "exception"},
      {typeid(garden::Valve**), "garden::Valve*"},
      {typeid(garden::Valve), "garden::Valve"},
      {typeid(unsigned long), "unsigned long"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(QVRClassInfo(c.type, 1, nullptr, nullptr, nullptr).getClassName(), c.name);
  }
}

TEST(QVRClassInfoTest, TellsWhatItWasMadeWith) {
  const QVRClassInfo info(
      typeid(A*), 0x123456789ABC, [] { return static_cast<QVRDynamicObject*>(nullptr); }, nullptr,
      nullptr);

  EXPECT_EQ(info.getObjectSize(), 0x123456789ABCu);
  EXPECT_TRUE(info.isConstructable());
  EXPECT_TRUE(info.isIdentifiable());
  EXPECT_EQ(info.getBaseCount(), 0u);
  EXPECT_FALSE(recordOf<A>().isConstructable());
  EXPECT_TRUE(recordOf<A>().isIdentifiable());
}

TEST(QVRClassInfoTest, KeepsTheBasesThatAreNotNullInTheirOrder) {
  const QVRClassInfo a = recordOf<A>();
  const QVRClassInfo b = recordOf<B>();
  const struct {
    const QVRClassInfo* base1;
    const QVRClassInfo* base2;
    std::vector<const QVRClassInfo*> bases;
  } cases[] = {{nullptr, nullptr, {}},
               {&a, nullptr, {&a}},
               {nullptr, &b, {&b}},
               {&a, &b, {&a, &b}},
               {&b, &a, {&b, &a}}};
  for (const auto& c : cases) {
    const QVRClassInfo info = recordOf<C>(c.base1, c.base2);

    ASSERT_EQ(info.getBaseCount(), c.bases.size());
    for (std::size_t i = 0; i < c.bases.size(); ++i) {
      EXPECT_EQ(&info.getBaseInfo(i), c.bases[i]);
    }
  }
}

TEST(QVRClassInfoTest, CreateObjectGivesWhatTheFactoryGives) {
  static QVRDynamicObject* made;
  made = QVRCountedObject::ClassInfo().createObject();
  const QVRClassInfo info(
      typeid(A*), 1, [] { return made; }, nullptr, nullptr);

  EXPECT_EQ(info.createObject(), made);
  EXPECT_EQ(info.createObject(), made);

  auto* const counted = dynamic_cast<QVRCountedObject*>(made);
  ASSERT_NE(counted, nullptr);
  counted->addReference();
  counted->removeReference();
}

TEST(QVRClassInfoTest, ComparesByTheTypeAlone) {
  const QVRClassInfo a = recordOf<A>();
  const QVRClassInfo b = recordOf<B>();
  const QVRClassInfo otherA(typeid(A*), 77, nullptr, &b, nullptr);

  EXPECT_TRUE(a == otherA);
  EXPECT_FALSE(a != otherA);
  EXPECT_TRUE(a.isInstanceOf(otherA));
  EXPECT_FALSE(a < otherA);
  EXPECT_FALSE(otherA < a);
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a != b);
  EXPECT_FALSE(a.isInstanceOf(b));
}

TEST(QVRClassInfoTest, IsOrderedAsTheTypesAre) {
  const QVRClassInfo infos[] = {recordOf<A>(), recordOf<B>(), recordOf<garden::Valve>(),
                                recordOf<garden::Valve::Seat>(), QVRCountedObject::ClassInfo()};
  const std::type_info* const types[] = {&typeid(A*), &typeid(B*), &typeid(garden::Valve*),
                                         &typeid(garden::Valve::Seat*), &typeid(QVRCountedObject*)};
  for (std::size_t i = 0; i < std::size(infos); ++i) {
    for (std::size_t j = 0; j < std::size(infos); ++j) {
      EXPECT_EQ(infos[i] < infos[j], types[i]->before(*types[j])) << i << ' ' << j;
    }
  }

  std::map<QVRClassInfo, int> sizes;
  for (const QVRClassInfo& info : infos) ++sizes[info];
  EXPECT_EQ(sizes.size(), std::size(infos));
  EXPECT_EQ(sizes[recordOf<B>()], 1);
}

TEST(QVRClassInfoTest, IsDerivedFromItselfAndItsBasesHoweverFar) {
  // D from C, which is from A and B; the valve from B first and from D.
  const QVRClassInfo a = recordOf<A>();
  const QVRClassInfo b = recordOf<B>();
  const QVRClassInfo c = recordOf<C>(&a, &b);
  const QVRClassInfo d = recordOf<D>(&c);
  const QVRClassInfo valve = recordOf<garden::Valve>(&b, &d);
  const QVRClassInfo* const infos[] = {&a, &b, &c, &d, &valve};
  const bool expected[][5] = {{true, false, false, false, false},
                              {false, true, false, false, false},
                              {true, true, true, false, false},
                              {true, true, true, true, false},
                              {true, true, true, true, true}};
  for (int i = 0; i < 5; ++i) {
    for (int j = 0; j < 5; ++j) {
      EXPECT_EQ(infos[i]->isDerivedFrom(*infos[j]), expected[i][j]) << i << ' ' << j;
    }
  }
  EXPECT_TRUE(valve.isDerivedFrom(recordOf<A>())) << "another record of the same type";
}

TEST(QVRClassInfoTest, CopiesTakeEverything) {
  const QVRClassInfo base = recordOf<A>();
  const QVRClassInfo original = recordOf<B>(nullptr, &base);

  const QVRClassInfo copy = original;
  QVRClassInfo assigned = recordOf<garden::Valve>();
  assigned = original;

  for (const QVRClassInfo* info : {&copy, static_cast<const QVRClassInfo*>(&assigned)}) {
    EXPECT_EQ(*info, original);
    EXPECT_EQ(describe(*info), describe(original));
    ASSERT_EQ(info->getBaseCount(), 1u);
    EXPECT_EQ(&info->getBaseInfo(0), &base);
  }
}

TEST(QVRClassInfoTest, AssigningItselfChangesNothing) {
  QVRClassInfo info = recordOf<garden::Valve>();
  const std::string before = describe(info);

  info = *&info;

  EXPECT_EQ(describe(info), before);
}

TEST(QVRClassInfoTest, KeepsItsNameWhenMovedFrom) {
  QVRClassInfo info = recordOf<garden::ClassWithALongName>();

  const QVRClassInfo taken = std::move(info);

  EXPECT_EQ(info.getClassName(), "garden::ClassWithALongName");
  EXPECT_EQ(taken.getClassName(), "garden::ClassWithALongName");
}

TEST(QVRClassInfoTest, DescribesItselfInLines) {
  const QVRClassInfo a = recordOf<garden::Valve>();
  const QVRClassInfo b(
      typeid(garden::Box<int, garden::Valve>*), 4096,
      [] { return static_cast<QVRDynamicObject*>(nullptr); }, &a, nullptr);
  const QVRClassInfo c(typeid(garden::Valve::Seat*), 0, nullptr, &b, &a);

  EXPECT_EQ(describe(a),
            "Class: garden::Valve\n"
            "    ObjectSize    = 1\n"
            "    Constructable = No\n"
            "    No base classes\n");
  EXPECT_EQ(describe(b),
            "Class: garden::Box<int,garden::Valve>\n"
            "    ObjectSize    = 4096\n"
            "    Constructable = Yes\n"
            "    Base 1        = garden::Valve\n");
  EXPECT_EQ(describe(c),
            "Class: garden::Valve::Seat\n"
            "    ObjectSize    = 0\n"
            "    Constructable = No\n"
            "    Base 1        = garden::Box<int,garden::Valve>\n"
            "    Base 2        = garden::Valve\n");
}

TEST(QVRClassInfoTest, DescriptionIsDecimalWhateverTheStreamSays) {
  struct Grouping : std::numpunct<char> {
    std::string do_grouping() const override { return "\1"; }
  };
  const QVRClassInfo base = recordOf<A>();
  std::ostringstream out;
  out.imbue(std::locale(out.getloc(), new Grouping));

  out << std::hex << std::showbase << std::showpos
      << QVRClassInfo(typeid(B*), 4096, nullptr, &base, &base);

  EXPECT_EQ(out.str(),
            "Class: (anonymousnamespace)::B\n"
            "    ObjectSize    = 4096\n"
            "    Constructable = No\n"
            "    Base 1        = (anonymousnamespace)::A\n"
            "    Base 2        = (anonymousnamespace)::A\n");
}

TEST(QVRClassInfoTest, DescriptionFlushesEachLineAndGivesTheStream) {
  FlushedBuffer buffer;
  std::ostream out(&buffer);

  EXPECT_EQ(&(out << recordOf<A>()), &out);

  EXPECT_EQ(buffer.flushes, 4);
}

TEST(QVRClassInfoTest, LackOfMemoryIsBadAlloc) {
  const QVRClassInfo info = recordOf<garden::ClassWithALongName>();
  FlushedBuffer buffer;
  std::ostream out(&buffer);
  const std::function<void()> operations[] = {
      [] { recordOf<garden::ClassWithALongName>(); }, [&] { const QVRClassInfo copy(info); },
      [&] { info.getClassName(); }, [&] { out << info; },
      [] { QVRClassInfoTestAccess::filter("class QVRWithALongName * __ptr64"); }};
  for (const auto& operation : operations) EXPECT_GE(refuseEachAllocation(operation), 1u);
}

TEST(QVRClassInfoTest, AssignmentThatFailsChangesNothing) {
  const QVRClassInfo base = recordOf<A>();
  const QVRClassInfo source = recordOf<garden::AnotherClassWithALongName>(&base);
  QVRClassInfo target = recordOf<B>();
  const std::string before = describe(target);

  const std::size_t refused = refuseEachAllocation([&] { target = source; },
                                                   [&] {
                                                     EXPECT_EQ(describe(target), before);
                                                     EXPECT_EQ(target, recordOf<B>());
                                                   });

  EXPECT_GE(refused, 1u);
  EXPECT_EQ(describe(target), describe(source));
}

}  // namespace
