// What holds for each class of the family.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "QVRSystem.h"
#include "support/TraceRecorder.h"

namespace {

constexpr char kFile[] = "file.cc";

/// One class, and what a test needs to ask of it.
struct Member {
  const char* name;
  const std::type_info* type;
  const std::type_info* base;
  bool (*isBaseOf)(const QVRException*);
  std::unique_ptr<QVRException> (*make)();
  std::unique_ptr<QVRException> (*copy)(const QVRException&);
  bool (*catches)(const QVRException&);
};

template <class Error, class Base>
Member describe(const char* name) {
  static_assert(std::is_base_of_v<Base, Error>);
  static_assert(sizeof(Error) == sizeof(QVRException));
  static_assert(std::is_nothrow_move_constructible_v<Error>);
  static_assert(std::is_copy_assignable_v<Error>);
  return {name,
          &typeid(Error),
          &typeid(Base),
          [](const QVRException* error) { return dynamic_cast<const Error*>(error) != nullptr; },
          []() -> std::unique_ptr<QVRException> {
            return std::make_unique<Error>(u"text %1", kFile, 42);
          },
          [](const QVRException& error) -> std::unique_ptr<QVRException> {
            return std::make_unique<Error>(dynamic_cast<const Error&>(error));
          },
          [](const QVRException& error) {
            try {
              error.raise();
            } catch (const Error&) {
              return true;
            } catch (...) {
            }
            return false;
          }};
}

std::vector<Member> concreteMembers() {
  return {
#define QVR_ERROR(Class, Base) describe<Class, Base>(#Class),
#include "QVRErrorFamily.def"
  };
}

std::vector<Member> allMembers() {
  std::vector<Member> members = concreteMembers();
  members.push_back(describe<QVRException, std::exception>("QVRException"));
  members.push_back(describe<QVRELogicError, QVRException>("QVRELogicError"));
  members.push_back(describe<QVRERuntimeError, QVRException>("QVRERuntimeError"));
  return members;
}

TEST(QVRErrorFamilyTest, Has53MembersAndFiveErrorsOfLogic) {
  EXPECT_EQ(allMembers().size(), 53u);

  int errorsOfLogic = 0;
  for (const Member& member : concreteMembers()) {
    errorsOfLogic += *member.base == typeid(QVRELogicError) ? 1 : 0;
  }
  EXPECT_EQ(errorsOfLogic, 5);
}

TEST(QVRErrorFamilyTest, ConcreteClassesAreCaughtAsThemselvesAndTheirBasesAlone) {
  const std::vector<Member> members = concreteMembers();
  for (const Member& thrown : members) {
    const std::unique_ptr<QVRException> error = thrown.make();
    for (const Member& other : members) {
      EXPECT_EQ(other.isBaseOf(error.get()), *thrown.type == *other.type)
          << thrown.name << ' ' << other.name;
    }
    const bool isLogic = *thrown.base == typeid(QVRELogicError);
    EXPECT_EQ(dynamic_cast<QVRELogicError*>(error.get()) != nullptr, isLogic) << thrown.name;
    EXPECT_EQ(dynamic_cast<QVRERuntimeError*>(error.get()) != nullptr, !isLogic) << thrown.name;
    EXPECT_NE(dynamic_cast<QVRMessage*>(error.get()), nullptr) << thrown.name;
    EXPECT_NE(dynamic_cast<std::exception*>(error.get()), nullptr) << thrown.name;
  }
}

TEST(QVRErrorFamilyTest, HandlersOfOtherConcreteClassesDoNotCatch) {
  const QVREFileNotFound error(u"", kFile, 1);
  const auto caughtAs = [&](auto* as) {
    try {
      error.raise();
    } catch (const std::remove_pointer_t<decltype(as)>&) {
      return true;
    } catch (...) {
    }
    return false;
  };

  EXPECT_FALSE(caughtAs(static_cast<QVREIOError*>(nullptr)));
  EXPECT_TRUE(caughtAs(static_cast<QVREFileNotFound*>(nullptr)));
  EXPECT_TRUE(caughtAs(static_cast<QVRERuntimeError*>(nullptr)));
  EXPECT_TRUE(caughtAs(static_cast<QVRException*>(nullptr)));
  EXPECT_TRUE(caughtAs(static_cast<QVRMessage*>(nullptr)));
  EXPECT_TRUE(caughtAs(static_cast<std::exception*>(nullptr)));
}

TEST(QVRErrorFamilyTest, EachKeepsItsTextAndPlace) {
  for (const Member& member : allMembers()) {
    const std::unique_ptr<QVRException> error = member.make();
    *error << member.name;

    EXPECT_EQ(error->what(), std::string("text ") + member.name);
    EXPECT_STREQ(error->where(), "file.cc(42)");
    EXPECT_EQ(error->getSrcFile(), kFile);
    EXPECT_EQ(error->getSrcLine(), 42);
  }
}

TEST(QVRErrorFamilyTest, EachIsRaisedAsItself) {
  for (const Member& member : allMembers()) {
    const std::unique_ptr<QVRException> error = member.make();
    EXPECT_TRUE(member.catches(*error)) << member.name;
    try {
      error->raise();
    } catch (const QVRException& caught) {
      EXPECT_EQ(typeid(caught), *member.type) << member.name;
      EXPECT_NE(&caught, error.get());
    }
  }
}

TEST(QVRErrorFamilyTest, CloneIsOfTheSameClassAndRaisesIt) {
  for (const Member& member : allMembers()) {
    const std::unique_ptr<QVRException> error = member.make();
    *error << 7;
    const std::unique_ptr<QVRMsgData> clone(error->clone());
    const auto& cloned = dynamic_cast<const QVRException&>(*clone);

    EXPECT_EQ(typeid(cloned), *member.type) << member.name;
    EXPECT_STREQ(cloned.what(), "text 7");
    EXPECT_STREQ(cloned.where(), "file.cc(42)");
    EXPECT_TRUE(member.catches(cloned)) << member.name;
  }
}

TEST(QVRErrorFamilyTest, MakingAConcreteOneBlanksTheSystemLogsHeader) {
  const std::string before = QVRSystemTrace.GetFormat();
  const std::string beforeOfBuild = QVRBuildTrace.GetFormat();
  for (const Member& member : concreteMembers()) {
    QVRSystemTrace.SetFormat("%n");
    member.make();
    EXPECT_EQ(QVRSystemTrace.GetFormat(), " ") << member.name;
  }
  EXPECT_EQ(QVRBuildTrace.GetFormat(), beforeOfBuild);
  QVRSystemTrace.SetFormat(before);
}

TEST(QVRErrorFamilyTest, LinesOfTheSystemLogHaveABlankForAHeaderFromThenOn) {
  const std::string before = QVRSystemTrace.GetFormat();
  const auto write = [] {
    QVRSystemTrace.acquireLock();
    QVRSystemTrace.write(QVRTraceLevelError, kFile, 42) << "text";
    QVRSystemTrace.releaseLock();
  };
  const TraceRecorder recorder;
  QVRSystemTrace.SetFormat("%l");

  write();
  QVREOutOfRange(u"", kFile, 1);
  write();
  QVRSystemTrace.SetFormat("%l");
  QVREOutOfRange(u"", kFile, 1);
  QVREOutOfRange(u"", kFile, 1);
  write();
  QVRSystemTrace.SetFormat(before);

  EXPECT_EQ(recorder.lines(), (std::vector<std::string>{"42 text", " text", " text"}));
}

TEST(QVRErrorFamilyTest, NothingElseTouchesTheSystemLogsHeader) {
  const std::string before = QVRSystemTrace.GetFormat();
  for (const Member& member : allMembers()) {
    const std::unique_ptr<QVRException> error = member.make();
    QVRSystemTrace.SetFormat("%n");

    const std::unique_ptr<QVRException> copy = member.copy(*error);
    const std::unique_ptr<QVRMsgData> clone(error->clone());
    member.catches(*error);
    *copy = *error;
    EXPECT_EQ(QVRSystemTrace.GetFormat(), "%n") << member.name;
  }

  QVRException(u"", kFile, 1);
  QVRELogicError(u"", kFile, 1);
  QVRERuntimeError(u"", kFile, 1);
  EXPECT_EQ(QVRSystemTrace.GetFormat(), "%n");
  QVRSystemTrace.SetFormat(before);
}

TEST(QVRErrorFamilyTest, AssignsToItsOwnClass) {
  QVREOutOfRange to(u"to", kFile, 1);
  const QVREOutOfRange from(u"from", "other", 2);
  to.what();
  to = from;

  EXPECT_STREQ(to.what(), "from");
  EXPECT_STREQ(to.where(), "other(2)");
}

}  // namespace
