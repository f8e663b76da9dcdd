// Texts, copies and places of exceptions.
#include "QVRException.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "QVRELogicError.h"
#include "QVREOutOfRange.h"
#include "support/AssertRecorder.h"
#include "support/ScopedLocale.h"
#include "support/VirtualSlot.h"

namespace {

constexpr char kFile[] = "c:\\src\\foo.cc";
constexpr char kSource[] = "QVRSystem/QVRErrorMD.m/src/QVRException";
constexpr char kConversionError[] = "Cannot construct what string: conversion error";

static_assert(std::is_base_of_v<std::exception, QVRException>);
static_assert(std::is_base_of_v<QVRMessage, QVRException>);
static_assert(
    std::is_void_v<decltype(std::declval<QVRException&>() = std::declval<const QVRException&>())>);
static_assert(std::is_same_v<decltype(std::declval<const QVRException&>().clone()), QVRMsgData*>);

/// An argument whose rendering fails with whatever it was made with.
template <class Failure>
class FailingMsg : public QVRMsgData {
 public:
  explicit FailingMsg(Failure failure) : failure_(std::move(failure)) {}
  QVRMsgData* clone() const override { return new FailingMsg(*this); }
  std::u16string scribe(const QVRLocale&) const override { throw failure_; }

 private:
  Failure failure_;
};

TEST(QVRExceptionTest, IsAStandardExceptionFirst) {
  const QVREOutOfRange error(u"text", kFile, 42);
  const auto* const object = static_cast<const void*>(&error);

  EXPECT_EQ(static_cast<const std::exception*>(&error), object);
  EXPECT_EQ(static_cast<const void*>(static_cast<const QVRMessage*>(&error)),
            static_cast<const char*>(object) + sizeof(std::exception));
}

TEST(QVRExceptionTest, VirtualOperationsStandInTheirOrder) {
  const std::size_t what =
      slotOf(static_cast<const char* (std::exception::*)() const noexcept>(&std::exception::what));

  EXPECT_EQ(slotOf(&QVRException::raise), what + 1);
  EXPECT_EQ(slotOf(&QVRException::where), what + 2);
}

TEST(QVRExceptionTest, WhatIsTheRenderedMessageAlone) {
  QVRException error(u"Index %1 of %2", kFile, 42);
  error << 7 << "list";

  EXPECT_STREQ(error.what(), "Index 7 of list");
}

TEST(QVRExceptionTest, WhatIsInTheEncodingOfTheProcess) {
  const ScopedLocale locale("C.UTF-8");

  EXPECT_STREQ(QVRException(u"Gr\u00f6\u00dfe \U0001F600", kFile, 1).what(),
               "Gr\xC3\xB6\xC3\x9F"
               "e \xF0\x9F\x98\x80");
}

TEST(QVRExceptionTest, WhatIsOfAnyLength) {
  // 204 units fill the 1,024 bytes that need no memory, 205 do not.
  for (const std::size_t length : {0u, 1u, 203u, 204u, 205u, 206u, 100000u}) {
    const QVRException error(std::u16string(length, u'x').c_str(), kFile, 42);
    EXPECT_EQ(error.what(), std::string(length, 'x'));
  }
}

TEST(QVRExceptionTest, LongTextsKeepTheirWideCharacters) {
  const ScopedLocale locale("C.UTF-8");
  std::u16string text;
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    text += u"\u20AC";
    expected += "\xE2\x82\xAC";
  }

  EXPECT_EQ(QVRException(text.c_str(), kFile, 42).what(), expected);
}

TEST(QVRExceptionTest, WhatEndsAtTheFirstZero) {
  QVRException error(u"a%1b", kFile, 42);
  error << std::u16string(1, u'\0');

  EXPECT_STREQ(error.what(), "a");
}

TEST(QVRExceptionTest, WhatIsMadeOnce) {
  QVRException error(u"%1", kFile, 42);
  error << "first";
  const char* const first = error.what();
  error << "second";

  EXPECT_EQ(error.what(), first);
  EXPECT_STREQ(first, "first");
}

TEST(QVRExceptionTest, EmptyWhatIsMadeAgain) {
  QVRException error(u"%1", kFile, 42);
  error << "";
  EXPECT_STREQ(error.what(), "");

  error = QVRException(u"text", kFile, 42);
  EXPECT_STREQ(error.what(), "text");
}

TEST(QVRExceptionTest, TextThatCannotBeNarrowedIsAConversionErrorAndTriedAgain) {
  const QVRException error(u"\u20AC", kFile, 42);
  {
    const ScopedLocale locale("C");
    EXPECT_STREQ(error.what(), kConversionError);
  }
  const ScopedLocale locale("C.UTF-8");
  EXPECT_STREQ(error.what(), "\xE2\x82\xAC");
}

TEST(QVRExceptionTest, LoneSurrogateIsAConversionError) {
  const ScopedLocale locale("C.UTF-8");
  const wchar16 text[] = {u'a', 0xD800, 0};

  EXPECT_STREQ(QVRException(text, kFile, 42).what(), kConversionError);
}

TEST(QVRExceptionTest, FailureOfAnArgumentIsToldByItsClass) {
  const AssertRecorder asserts;
  QVRException conversion(u"%1", kFile, 42);
  conversion.append(FailingMsg(std::range_error("not text")));
  QVRException memory(u"%1", kFile, 42);
  memory.append(FailingMsg(std::bad_alloc()));

  EXPECT_STREQ(conversion.what(), kConversionError);
  EXPECT_STREQ(memory.what(), "Cannot construct what string: out of memory");
  EXPECT_TRUE(asserts.all().empty());
}

TEST(QVRExceptionTest, AnyOtherFailureIsReportedAndGivesNoText) {
  const AssertRecord expected{"Program error", "Unexpected exception", kSource, 172};
  const auto expectReport = [&](const QVRMsgData& argument) {
    const AssertRecorder asserts;
    QVRException error(u"%1", kFile, 42);
    error.append(argument);

    EXPECT_EQ(error.what(), nullptr);
    EXPECT_EQ(asserts.only(), expected);
  };
  expectReport(FailingMsg(7));
  expectReport(FailingMsg(std::logic_error("")));
  expectReport(FailingMsg(QVRELogicError(u"", kFile, 1)));
}

TEST(QVRExceptionTest, WhereIsFileAndLine) {
  const struct {
    const char* file;
    int line;
    const char* where;
  } cases[] = {{kFile, 42, "c:\\src\\foo.cc(42)"},
               {"/a/b.cc", 0, "/a/b.cc(0)"},
               {"b", -1, "b(-1)"},
               {"b", 1234567, "b(1234567)"},
               {"", -2147483647 - 1, "(-2147483648)"},
               {nullptr, 5, "(5)"}};
  for (const auto& c : cases) EXPECT_STREQ(QVRException(u"", c.file, c.line).where(), c.where);
}

TEST(QVRExceptionTest, WhereIsMadeOnce) {
  char file[] = "first";
  const QVRException error(u"", file, 1);
  const char* const where = error.where();
  file[0] = 'X';

  EXPECT_EQ(error.where(), where);
  EXPECT_STREQ(where, "first(1)");
  EXPECT_EQ(error.getSrcFile(), file);
  EXPECT_EQ(error.getSrcLine(), 1);
}

TEST(QVRExceptionTest, CopiesTakeTheTextsAlongAsTheyStand) {
  char file[] = "first";
  QVRException made(u"%1", file, 3);
  made << 1;
  made.what();
  made.where();
  QVRException assigned(u"other", kFile, 4);
  assigned.what();
  assigned.where();
  const QVRException notMade(made);
  assigned = made;
  const std::unique_ptr<QVRMsgData> cloned(made.clone());
  file[0] = 'X';

  const QVRException* const copies[] = {&notMade, &assigned,
                                        dynamic_cast<QVRException*>(cloned.get())};
  for (const QVRException* const copy : copies) {
    EXPECT_STREQ(copy->what(), "1");
    EXPECT_STREQ(copy->where(), "first(3)");
    EXPECT_NE(copy->what(), made.what());
  }
}

TEST(QVRExceptionTest, CopiesWithoutTextsMakeTheirOwn) {
  QVRException error(u"%1 %2", kFile, 3);
  error << 1;
  QVRException copy(error);
  copy << 2;
  QVRException assigned(u"other", "other", 4);
  EXPECT_STREQ(assigned.what(), "other");
  assigned = error;

  EXPECT_STREQ(error.what(), "1 %2");
  EXPECT_STREQ(copy.what(), "1 2");
  EXPECT_STREQ(assigned.what(), "1 %2");
  EXPECT_STREQ(assigned.where(), "c:\\src\\foo.cc(3)");
}

TEST(QVRExceptionTest, AssigningToItselfChangesNothing) {
  QVRException error(u"%1", kFile, 3);
  error << 1;
  const char* const what = error.what();
  QVRException& same = error;
  error = same;

  EXPECT_EQ(error.what(), what);
  EXPECT_EQ(error.getFormatStr(), u"%1");
}

TEST(QVRExceptionTest, IsAnArgumentOfOtherMessages) {
  QVRException inner(u"inner %1", kFile, 3);
  inner << 1;
  QVRException outer(u"outer: %1", kFile, 4);
  outer << inner;

  EXPECT_STREQ(outer.what(), "outer: inner 1");
}

TEST(QVRExceptionTest, LocalExceptionIsThrownWithItsArguments) {
  try {
    QVREOutOfRange error(u"%1 %2", kFile, 3);
    error << 1 << "two";
    throw error;
  } catch (const QVRException& caught) {
    EXPECT_STREQ(caught.what(), "1 two");
    EXPECT_STREQ(caught.where(), "c:\\src\\foo.cc(3)");
  }
}

}  // namespace
