// Classes that modules declare: QVR_DECLARE_DYNAMIC_CLASS and its definitions.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "PoolUse.h"
#include "QVRCountedPointer.h"
#include "QVRDynamicObject.h"
#include "support/AllocationRefuser.h"

// Several classes in one source, in and out of namespaces, one of them nested.
namespace plant {

class Part : public QVRDynamicObject {
  QVR_DECLARE_DYNAMIC_CLASS(Part);

 public:
  Part() = default;
  explicit Part(int number) : number_(number) {}
  Part(const Part& other, CopyMode mode)
      : QVRDynamicObject(other, mode), number_(other.number_), mode_(mode) {}

  // For everybody, unlike those of the root.
  using QVRDynamicObject::duplicateObject;
  using QVRDynamicObject::replicateObject;

  int number() const { return number_; }
  int mode() const { return mode_; }

 private:
  int number_ = 7;
  int mode_ = -1;
};
QVR_DEFINE_DYNAMIC_CLASS(Part, QVRDynamicObject);

class Valve : public Part {
  QVR_DECLARE_DYNAMIC_CLASS(Valve);

 public:
  class Seat : public Part {
    QVR_DECLARE_DYNAMIC_CLASS(Seat);

    // Made by its record alone.
    Seat() = default;
    Seat(const Seat& other, CopyMode mode) : Part(other, mode) {}
  };

  Valve() = default;
  Valve(const Valve& other, CopyMode mode) : Part(other, mode) {}
};
QVR_DEFINE_DYNAMIC_CLASS(Valve, Part);
QVR_DEFINE_DYNAMIC_CLASS(Valve::Seat, Part);

/// Objects of it are those of derived classes.
class Machine : public virtual Part {
  QVR_DECLARE_DYNAMIC_CLASS(Machine);

 public:
  explicit Machine(int /*power*/) {}
  virtual int power() const = 0;

 protected:
  Machine(const Machine& other, CopyMode mode) : Part(other, mode) {}
};
QVR_DEFINE_ABSTRACT_DYNAMIC_CLASS(Machine, Part);

/// Nobody says what this is derived from.
class Loner : public Part {
  QVR_DECLARE_DYNAMIC_CLASS(Loner);

 public:
  Loner() = default;
  Loner(const Loner& other, CopyMode mode) : Part(other, mode) {}
};
QVR_DEFINE_DYNAMIC_CLASS(Loner);

}  // namespace plant

class Pump : public plant::Machine, public virtual plant::Part {
  QVR_DECLARE_DYNAMIC_CLASS(Pump);

 public:
  Pump() : Machine(3) {}
  Pump(const Pump& other, CopyMode mode) : Part(other, mode), Machine(other, mode) {}
  int power() const override { return 3; }
};
QVR_DEFINE_DYNAMIC_CLASS(Pump, plant::Machine, plant::Part);

namespace {

/// Two roots: it is a part as its first base is.
class Twofold : public plant::Valve, public QVRCountedObject {
  QVR_DECLARE_DYNAMIC_CLASS(Twofold);

 public:
  Twofold() = default;
  Twofold(const Twofold& other, QVRDynamicObject::CopyMode mode)
      : Valve(other, mode), QVRCountedObject(other, mode) {}
  ~Twofold() override = default;
};
QVR_DEFINE_DYNAMIC_CLASS(Twofold, plant::Valve, QVRCountedObject);

/// Two roots, and nothing but; the classes below have them through their bases.
class Pair : public plant::Part, public QVRCountedObject {
  QVR_DECLARE_DYNAMIC_CLASS(Pair);

 public:
  using Mode = QVRDynamicObject::CopyMode;
  Pair() = default;
  Pair(const Pair& other, Mode mode) : Part(other, mode), QVRCountedObject(other, mode) {}

 protected:
  ~Pair() override = default;
};
QVR_DEFINE_DYNAMIC_CLASS(Pair, QVRCountedObject, plant::Part);  // counted first

class AbstractPair : public Pair {
  QVR_DECLARE_DYNAMIC_CLASS(AbstractPair);

 protected:
  AbstractPair() = default;
  AbstractPair(const AbstractPair& other, Mode mode) : Pair(other, mode) {}
  virtual void run() = 0;
};
QVR_DEFINE_ABSTRACT_DYNAMIC_CLASS(AbstractPair, Pair);

class FarPair : public AbstractPair {
  QVR_DECLARE_DYNAMIC_CLASS(FarPair);

 public:
  FarPair() = default;
  FarPair(const FarPair& other, Mode mode) : AbstractPair(other, mode) {}

 protected:
  void run() override {}
};
QVR_DEFINE_DYNAMIC_CLASS(FarPair, AbstractPair);

class VirtualPair : public virtual Pair {
  QVR_DECLARE_DYNAMIC_CLASS(VirtualPair);

 public:
  VirtualPair() = default;
  VirtualPair(const VirtualPair& other, Mode mode) : Pair(other, mode) {}
};
QVR_DEFINE_DYNAMIC_CLASS(VirtualPair, Pair);

class FarVirtualPair : public VirtualPair {
  QVR_DECLARE_DYNAMIC_CLASS(FarVirtualPair);

 public:
  FarVirtualPair() = default;
  FarVirtualPair(const FarVirtualPair& other, Mode mode)
      : Pair(other, mode), VirtualPair(other, mode) {}
};
QVR_DEFINE_DYNAMIC_CLASS(FarVirtualPair, VirtualPair);

/// Two roots, both through a first base of two.
class Quadruple : public FarPair, public Twofold {
  QVR_DECLARE_DYNAMIC_CLASS(Quadruple);

 public:
  Quadruple() = default;
  Quadruple(const Quadruple& other, Mode mode) : FarPair(other, mode), Twofold(other, mode) {}

 protected:
  ~Quadruple() override = default;
};
QVR_DEFINE_DYNAMIC_CLASS(Quadruple, FarPair, Twofold);

class HiddenMachine : public plant::Part {
  QVR_DECLARE_DYNAMIC_CLASS(HiddenMachine);

 protected:
  virtual void run() = 0;
};
QVR_DEFINE_ABSTRACT_DYNAMIC_CLASS(HiddenMachine, plant::Part);

/// Cannot be made while it refuses.
class Refusing : public plant::Part {
  QVR_DECLARE_DYNAMIC_CLASS(Refusing);

 public:
  Refusing() { refuse(); }
  Refusing(const Refusing& other, CopyMode mode) : Part(other, mode) { refuse(); }

  static bool refuses;

 private:
  static void refuse() {
    if (refuses) throw std::runtime_error("refused");
  }

  [[maybe_unused]] std::array<char, 900> content_{};
};
bool Refusing::refuses = false;
QVR_DEFINE_DYNAMIC_CLASS(Refusing, plant::Part);

/// Few fit into a segment.
class Bulky : public plant::Part {
  QVR_DECLARE_DYNAMIC_CLASS(Bulky);

 public:
  Bulky() = default;
  Bulky(const Bulky& other, CopyMode mode) : Part(other, mode) {}

 private:
  [[maybe_unused]] std::array<char, 7000> content_{};
};
QVR_DEFINE_DYNAMIC_CLASS(Bulky, plant::Part);

using PartOwner = std::unique_ptr<plant::Part>;

PartOwner asPart(QVRDynamicObject* object) {
  PartOwner part(dynamic_cast<plant::Part*>(object));
  EXPECT_EQ(part == nullptr, object == nullptr);
  return part;
}

TEST(QVRDynamicClassTest, RecordTellsNameSizeAndBases) {
  const struct {
    const QVRClassInfo& info;
    std::string name;
    std::size_t size;
    bool isConstructable;
    std::vector<const QVRClassInfo*> bases;
  } cases[] = {
      {plant::Part::ClassInfo(),
       "plant::Part",
       sizeof(plant::Part),
       true,
       {&QVRDynamicObject::ClassInfo()}},
      {plant::Valve::ClassInfo(),
       "plant::Valve",
       sizeof(plant::Valve),
       true,
       {&plant::Part::ClassInfo()}},
      {plant::Valve::Seat::ClassInfo(),
       "plant::Valve::Seat",
       sizeof(plant::Valve::Seat),
       true,
       {&plant::Part::ClassInfo()}},
      {plant::Machine::ClassInfo(),
       "plant::Machine",
       sizeof(plant::Machine),
       false,
       {&plant::Part::ClassInfo()}},
      {plant::Loner::ClassInfo(), "plant::Loner", sizeof(plant::Loner), true, {}},
      {Pump::ClassInfo(),
       "Pump",
       sizeof(Pump),
       true,
       {&plant::Machine::ClassInfo(), &plant::Part::ClassInfo()}},
      {HiddenMachine::ClassInfo(),
       "(anonymousnamespace)::HiddenMachine",
       sizeof(HiddenMachine),
       false,
       {&plant::Part::ClassInfo()}},
      {Twofold::ClassInfo(),
       "(anonymousnamespace)::Twofold",
       sizeof(Twofold),
       true,
       {&plant::Valve::ClassInfo(), &QVRCountedObject::ClassInfo()}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.info.getClassName(), c.name);
    EXPECT_EQ(c.info.getObjectSize(), c.size) << c.name;
    EXPECT_EQ(c.info.isConstructable(), c.isConstructable) << c.name;
    ASSERT_EQ(c.info.getBaseCount(), c.bases.size()) << c.name;
    for (std::size_t i = 0; i < c.bases.size(); ++i) {
      EXPECT_EQ(&c.info.getBaseInfo(i), c.bases[i]) << c.name;
    }
  }
  EXPECT_EQ(plant::Valve::ClassName(), "plant::Valve");
}

TEST(QVRDynamicClassTest, ObjectAnswersFromTheRecordOfItsOwnClass) {
  const plant::Valve valve;
  const QVRDynamicObject& object = valve;

  EXPECT_EQ(object.getClassName(), "plant::Valve");
  EXPECT_EQ(&object.getClassInfo(), &plant::Valve::ClassInfo());
  EXPECT_TRUE(object.isInstanceOf(plant::Valve::ClassInfo()));
  EXPECT_FALSE(object.isInstanceOf(plant::Part::ClassInfo()));
  EXPECT_FALSE(object.isInstanceOf(QVRDynamicObject::ClassInfo()));
}

TEST(QVRDynamicClassTest, IsDerivedFromItsBasesAndNotTheOtherWay) {
  const plant::Part part;
  const plant::Valve valve;
  const Pump pump;
  const plant::Loner loner;
  const struct {
    const QVRDynamicObject& object;
    const QVRClassInfo& info;
    bool expected;
  } cases[] = {
      {valve, plant::Valve::ClassInfo(), true},     {valve, plant::Part::ClassInfo(), true},
      {valve, QVRDynamicObject::ClassInfo(), true}, {valve, QVRCountedObject::ClassInfo(), false},
      {part, plant::Valve::ClassInfo(), false},     {pump, plant::Machine::ClassInfo(), true},
      {pump, plant::Part::ClassInfo(), true},       {pump, QVRDynamicObject::ClassInfo(), true},
      {pump, plant::Valve::ClassInfo(), false},     {loner, plant::Loner::ClassInfo(), true},
      {loner, plant::Part::ClassInfo(), false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.object.isDerivedFrom(c.info), c.expected)
        << c.object.getClassName() << " from " << c.info.getClassName();
    EXPECT_EQ(c.object.getClassInfo().isDerivedFrom(c.info), c.expected);
  }
}

TEST(QVRDynamicClassTest, RecordMakesDefaultObjectsOfAnyAccess) {
  for (const QVRClassInfo* info : {&plant::Part::ClassInfo(), &plant::Valve::ClassInfo(),
                                   &plant::Valve::Seat::ClassInfo(), &Pump::ClassInfo()}) {
    const PartOwner made = asPart(info->createObject());

    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(made->isInstanceOf(*info));
    EXPECT_EQ(made->number(), 7);
  }
}

TEST(QVRDynamicClassTest, ReplicaIsADefaultObjectAndDuplicateACopyUnderTheMode) {
  const plant::Part part(9);

  const PartOwner replica = asPart(part.replicateObject());
  const PartOwner shallow = asPart(part.duplicateObject(QVRDynamicObject::ShallowCopy));
  const PartOwner deep = asPart(part.duplicateObject(QVRDynamicObject::DeepCopy));

  EXPECT_EQ(replica->number(), 7);
  EXPECT_EQ(replica->mode(), -1);
  EXPECT_EQ(shallow->number(), 9);
  EXPECT_EQ(shallow->mode(), QVRDynamicObject::ShallowCopy);
  EXPECT_EQ(deep->number(), 9);
  EXPECT_EQ(deep->mode(), QVRDynamicObject::DeepCopy);
}

TEST(QVRDynamicClassTest, ReplicaAndDuplicateAreOfTheObjectsOwnClass) {
  const Pump pump;
  const plant::Part& part = pump;

  EXPECT_TRUE(asPart(part.replicateObject())->isInstanceOf(Pump::ClassInfo()));
  EXPECT_TRUE(asPart(part.duplicateObject(Pump::DeepCopy))->isInstanceOf(Pump::ClassInfo()));
}

/// Inherits what the abstract class answers.
class Mill : public HiddenMachine {
 public:
  using Part::duplicateObject;
  using Part::replicateObject;

 protected:
  void run() override {}
};

TEST(QVRDynamicClassTest, AbstractClassMakesNothing) {
  const Mill mill;

  EXPECT_EQ(mill.replicateObject(), nullptr);
  EXPECT_EQ(mill.duplicateObject(Mill::ShallowCopy), nullptr);
  EXPECT_TRUE(mill.isInstanceOf(HiddenMachine::ClassInfo()));
}

TEST(QVRDynamicClassTest, ObjectWithTwoRootsIsGivenAsItsFirst) {
  QVRDynamicObject* const made = Twofold::ClassInfo().createObject();
  auto* const twofold = dynamic_cast<Twofold*>(made);
  ASSERT_NE(twofold, nullptr);

  EXPECT_EQ(made, static_cast<plant::Part*>(twofold));
  EXPECT_TRUE(twofold->isDerivedFrom(plant::Part::ClassInfo()));
  EXPECT_TRUE(twofold->isDerivedFrom(QVRCountedObject::ClassInfo()));

  // Counted through its second base, it goes as a whole.
  const QVRCountedPointer<Twofold> pointer(twofold);
  EXPECT_EQ(pointer->getReferences(), 1u);
}

template <class T>
class QVRDynamicClassOfTwoRootsTest : public testing::Test {};
using Pairs = testing::Types<Pair, FarPair, VirtualPair, FarVirtualPair, Quadruple>;
TYPED_TEST_SUITE(QVRDynamicClassOfTwoRootsTest, Pairs);

TYPED_TEST(QVRDynamicClassOfTwoRootsTest, MakesObjectsGivenAsTheRootOfTheirFirstNamedBase) {
  const auto asPair = [](QVRDynamicObject* made) {
    return QVRCountedPointer<Pair>(dynamic_cast<Pair*>(made));
  };
  QVRDynamicObject* const made = TypeParam::ClassInfo().createObject();
  const QVRCountedPointer<Pair> pair = asPair(made);
  ASSERT_TRUE(pair);

  EXPECT_EQ(made, static_cast<QVRCountedObject*>(pair.get()));
  const plant::Part& part = *pair;
  for (const auto& other : {pair, asPair(part.replicateObject()),
                            asPair(part.duplicateObject(QVRDynamicObject::DeepCopy))}) {
    ASSERT_TRUE(other);
    EXPECT_EQ(&other->getClassInfo(), &TypeParam::ClassInfo());
    EXPECT_TRUE(other->isDerivedFrom(plant::Part::ClassInfo()));
    EXPECT_TRUE(other->isDerivedFrom(QVRCountedObject::ClassInfo()));
  }
}

TEST(QVRDynamicClassTest, ConstructorThatThrowsGivesTheStorageBack) {
  if (!QVRPoolAllocator::Global().isEnabled()) GTEST_SKIP() << "the pool is switched off";
  const Refusing original;
  const long before = blocksInUse(928);
  static_assert(sizeof(Refusing) > 896 && sizeof(Refusing) <= 928);

  Refusing::refuses = true;
  EXPECT_THROW(Refusing::ClassInfo().createObject(), std::runtime_error);
  EXPECT_THROW(original.replicateObject(), std::runtime_error);
  EXPECT_THROW(original.duplicateObject(Refusing::DeepCopy), std::runtime_error);
  Refusing::refuses = false;

  EXPECT_EQ(blocksInUse(928), before);
}

TEST(QVRDynamicClassTest, LackOfMemoryIsBadAllocAndTakesNothing) {
  const Bulky original;
  PartOwner made;
  const std::function<void()> operations[] = {
      [&] { made = asPart(Bulky::ClassInfo().createObject()); },
      [&] { made = asPart(original.replicateObject()); },
      [&] { made = asPart(original.duplicateObject(Bulky::DeepCopy)); },
      [] { Bulky::ClassName(); },
      [&] { original.getClassName(); },
  };
  for (const auto& operation : operations) {
    QVRPoolAllocator::Global().compact();
    const long before = blocksInUse(7040);

    const std::size_t refused =
        refuseEachAllocation(operation, [&] { EXPECT_EQ(blocksInUse(7040), before); });

    EXPECT_GE(refused, 1u);
    made.reset();
  }
}

}  // namespace
