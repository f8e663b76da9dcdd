// How a message collects its arguments, spends its settings and becomes text.
#include "QVRMessage.h"

#include <gtest/gtest.h>

#include <ctime>
#include <latch>
#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

#include "MarkingLocale.h"
#include "QVRBasicStringMsg.h"
#include "QVRCurrencyMsg.h"
#include "QVRDateMsg.h"
#include "QVRDateTimeMsg.h"
#include "QVRLocale.h"
#include "QVRNumericMsg.h"
#include "QVRTimeMsg.h"
#include "support/ScopedLocale.h"

namespace {

QVRMessage messageOf(const wchar16* format) { return QVRMessage(format, "file.cpp", 1); }

/// The text of one argument alone, as the marking locale writes it.
template <class T>
std::u16string marked(const T& value) {
  QVRMessage message = messageOf(u"%1");
  message << value;
  return message.scribe(MarkingLocale());
}

template <class T>
constexpr bool kCanBeStreamed = requires(QVRMessage& message, T value) {
  message << value;
};

/// An argument whose clone() answers null as soon as it is told to.
class VanishingMsg : public QVRMsgData {
 public:
  QVRMsgData* clone() const override { return vanished ? nullptr : new VanishingMsg(*this); }
  std::u16string scribe(const QVRLocale&) const override { return u"here"; }

  static inline bool vanished = false;
};

/// A message that looks at what is appended to it.
class WatchingMessage : public QVRMessage {
 public:
  using QVRMessage::QVRMessage;

  void append(const QVRMsgData& data) override {
    numbers += dynamic_cast<const QVRNumericMsg<int>*>(&data) != nullptr ? 1 : 0;
    messages += dynamic_cast<const QVRMessage*>(&data) != nullptr ? 1 : 0;
    QVRMessage::append(data);
  }

  QVRMsgData* clone() const override { return new WatchingMessage(*this); }

  int numbers = 0;
  int messages = 0;
};

using WideMsg = QVRBasicStringMsg<wchar16>;

/// Streams the value once and once more with a width, and expects what the
/// argument itself gives.
template <class Argument, class T>
void expectWrittenByItself(const T& value) {
  QVRMessage message = messageOf(u"%1|%2");
  message << value << QVRSetWidth(30) << value;
  const std::u16string text = Argument(value).scribe(QVRLocale::global());

  EXPECT_EQ(message.scribe(), text + u"|" + std::u16string(30 - text.size(), u' ') + text);
}

template <class T>
void expectNumbersWrittenByThemselves() {
  using Limits = std::numeric_limits<T>;
  for (const T value : {T(0), T(7), T(-10), Limits::min(), Limits::max(), Limits::lowest()}) {
    expectWrittenByItself<QVRNumericMsg<T>>(value);
  }
}

/// A message that keeps copies of the text appended last.
class KeepingMessage : public QVRMessage {
 public:
  using QVRMessage::QVRMessage;

  void append(const QVRMsgData& data) override {
    kept = std::make_unique<WideMsg>(dynamic_cast<const WideMsg&>(data));
    cloned.reset(data.clone());
    QVRMessage::append(data);
  }

  std::unique_ptr<WideMsg> kept;
  std::unique_ptr<QVRMsgData> cloned;
};

/// A text made from another, in a class of its own.
class LoudMsg : public WideMsg {
 public:
  explicit LoudMsg(const WideMsg& text) : WideMsg(text) {}

  QVRMsgData* clone() const override { return new LoudMsg(*this); }
  std::u16string scribe(const QVRLocale&) const override { return u"LOUD"; }
};

TEST(QVRMessageTest, PlaceholdersStandForArgumentsByNumber) {
  const struct {
    const char16_t* format;
    const char16_t* expected;
  } cases[] = {
      {u"", u""},
      {u"plain", u"plain"},
      {u"%1", u"a"},
      {u"%2 before %1", u"b before a"},
      {u"%1%1%2", u"aab"},
      {u"%01 %0002", u"a b"},
      {u"%1a%2b", u"aabb"},
      {u"100%", u"100"},
      {u"%", u""},
      {u"%%", u"%"},
      {u"%%%", u"%"},
      {u"%%1", u"%1"},
      {u"%%%1", u"%a"},
      {u"%a%-1", u"a-1"},
      {u"% 1", u" 1"},
      {u"%0 %00", u"%0 %00"},
      {u"%7", u"%7"},
      {u"%12 %21", u"%12 %21"},
      {u"%007x", u"%007x"},
      {u"%2147483647", u"%2147483647"},
      {u"%2147483649", u"%2147483649"},
      {u"%4294967297", u"%4294967297"},
      {u"%18446744073709551617", u"%18446744073709551617"},
      {u"%99999999999999999999999999999999999999999",
       u"%99999999999999999999999999999999999999999"},
      {u"%\u0661%\uff11", u"\u0661\uff11"},
      {u"%\U0001F600%1", u"\U0001F600a"},
  };

  for (const auto& c : cases) {
    QVRMessage message = messageOf(c.format);
    message << u"a" << u"b";
    EXPECT_EQ(message.scribe(), c.expected);
  }
}

TEST(QVRMessageTest, PlaceholdersWithoutArgumentsStay) {
  EXPECT_EQ(messageOf(u"%1 %01 %0").scribe(), u"%1 %01 %0");
}

TEST(QVRMessageTest, PlaceholderTwelveIsTheTwelfthArgument) {
  QVRMessage message = messageOf(u"%12 %1 %13");
  for (int i = 1; i <= 12; ++i) message << i * 100;

  EXPECT_EQ(message.scribe(), u"1200 100 %13");
}

TEST(QVRMessageTest, PercentSignsOfAnArgumentAreNotReadAgain) {
  QVRMessage message = messageOf(u"%1");
  message << u"%2 100%" << u"never";

  EXPECT_EQ(message.scribe(), u"%2 100%");
}

TEST(QVRMessageTest, FormatIsCopiedAndNullIsTheEmptyText) {
  std::u16string format = u"Invalid UUID version - %1";
  QVRMessage message(format.c_str(), nullptr, 0);
  format.assign(30, u'x');
  message << 5;

  EXPECT_EQ(message.getFormatStr(), u"Invalid UUID version - %1");
  EXPECT_EQ(message.scribe(), u"Invalid UUID version - 5");
  EXPECT_EQ(messageOf(nullptr).getFormatStr(), u"");
}

TEST(QVRMessageTest, HundredArgumentsKeepTheirOrder) {
  QVRMessage message = messageOf(u"%1 %32 %33 %64 %65 %100 %101");
  for (int i = 1; i <= 100; ++i) message << i;

  EXPECT_EQ(message.scribe(), u"1 32 33 64 65 100 %101");
}

TEST(QVRMessageTest, EachTypeGoesThroughItsOperationOfTheLocale) {
  EXPECT_EQ(marked(static_cast<short>(-1)), u"<long:-1>");
  EXPECT_EQ(marked(static_cast<unsigned short>(1)), u"<unsigned long:1>");
  EXPECT_EQ(marked(-1), u"<long:-1>");
  EXPECT_EQ(marked(1U), u"<unsigned long:1>");
  EXPECT_EQ(marked(-1L), u"<long:-1>");
  EXPECT_EQ(marked(1UL), u"<unsigned long:1>");
  EXPECT_EQ(marked(-1LL), u"<long:-1>");
  EXPECT_EQ(marked(1ULL), u"<unsigned long:1>");
  EXPECT_EQ(marked(1.5F), u"<double:1.500000,6>");
  EXPECT_EQ(marked(1.5), u"<double:1.500000,6>");
  EXPECT_EQ(marked(1.5L), u"<double:1.500000,6>");
  EXPECT_EQ(marked("ab"), u"<narrow:ab>");
  EXPECT_EQ(marked(std::string("ab")), u"<narrow:ab>");
  EXPECT_EQ(marked('a'), u"<narrow:a>");
  EXPECT_EQ(marked(static_cast<signed char>('a')), u"<narrow:a>");
  EXPECT_EQ(marked(static_cast<unsigned char>('a')), u"<narrow:a>");
  EXPECT_EQ(marked(u"ab"), u"<wide:ab>");
  EXPECT_EQ(marked(std::u16string(u"ab")), u"<wide:ab>");
  EXPECT_EQ(marked(QVRCurrency(1.5)), u"<money:1.500000,1>");
  EXPECT_EQ(marked(QVRSysDate(24, 12, 2001)), u"<date:x>");
  EXPECT_EQ(marked(QVRSysTime(13, 5, 9, 0)), u"<time:c>");
  EXPECT_EQ(marked(QVRSysDateTime()), u"<datetime:c>");
  EXPECT_EQ(marked(std::tm{}), u"<datetime:c>");
  EXPECT_EQ(marked(messageOf(u"whole")), u"whole");
}

TEST(QVRMessageTest, ArgumentsAreWrittenAsTheyWriteThemselves) {
  expectNumbersWrittenByThemselves<short>();
  expectNumbersWrittenByThemselves<unsigned short>();
  expectNumbersWrittenByThemselves<int>();
  expectNumbersWrittenByThemselves<unsigned int>();
  expectNumbersWrittenByThemselves<long>();
  expectNumbersWrittenByThemselves<unsigned long>();
  expectNumbersWrittenByThemselves<float>();
  expectNumbersWrittenByThemselves<double>();
  expectWrittenByItself<QVRBasicStringMsg<char>>(std::string("narrow\0text", 11));
  expectWrittenByItself<WideMsg>(std::u16string(u"wide\0text", 9));
  expectWrittenByItself<QVRCurrencyMsg>(QVRCurrency(1.5));
  expectWrittenByItself<QVRTimeMsg>(QVRSysTime(8, 5, 9, 0));
}

TEST(QVRMessageTest, PrecisionIsKeptWithoutAWidth) {
  QVRMessage message = messageOf(u"%1 %2");
  message << QVRSetPrecision(3) << 3.14159 << 3.14159;

  EXPECT_EQ(message.scribe(), u"3.14 3.14159");
}

TEST(QVRMessageTest, BrokenDownTimeIsTheDateTimeThatItMakes) {
  std::tm local = {};
  local.tm_year = 101;
  local.tm_mon = 11;
  local.tm_mday = 24;
  local.tm_hour = 13;
  QVRMessage fromLocal = messageOf(u"%1");
  QVRMessage fromDateTime = messageOf(u"%1");

  fromLocal << local;
  fromDateTime << QVRSysDateTime(local, 0);

  EXPECT_EQ(fromLocal.scribe(), fromDateTime.scribe());
}

TEST(QVRMessageTest, NullTextIsEmptyAndAZeroCharacterWritesNothing) {
  QVRMessage message = messageOf(u"[%1%2%3]");
  message << static_cast<const char*>(nullptr) << static_cast<const wchar16*>(nullptr) << '\0';

  EXPECT_EQ(message.scribe(), u"[]");
}

TEST(QVRMessageTest, CharactersAboveAsciiAreBytesOfTheEncoding) {
  QVRMessage message = messageOf(u"%1%2%3");
  message << '\xe9' << static_cast<signed char>('\xe9') << static_cast<unsigned char>(0xe9);

  const ScopedLocale latin1("de_DE.ISO-8859-1");
  EXPECT_EQ(message.scribe(), u"\u00e9\u00e9\u00e9");
}

TEST(QVRMessageTest, TruthValuesAreTheSameWordsInEveryLocale) {
  QVRMessage message = messageOf(u"%1 %2");
  message << true << false;

  EXPECT_EQ(message.scribe(), u"true false");
  EXPECT_EQ(message.scribe(MarkingLocale()), u"true false");
}

TEST(QVRMessageTest, ThreadsMayStreamTheFirstTruthValuesTogether) {
  constexpr int kThreads = 8;
  std::latch start(kThreads);
  std::vector<std::u16string> texts(kThreads);
  {
    std::vector<std::jthread> threads;
    for (std::u16string& text : texts) {
      threads.emplace_back([&start, &text] {
        QVRMessage message = messageOf(u"%1 %2");
        start.arrive_and_wait();
        message << true << false;
        text = message.scribe();
      });
    }
  }

  EXPECT_EQ(texts, std::vector<std::u16string>(kThreads, u"true false"));
}

TEST(QVRMessageTest, SettingsGoToTheNextArgumentOnly) {
  QVRMessage message = messageOf(u"%1|%2");
  message << QVRSetWidth(5) << 42 << 7;

  EXPECT_EQ(message.scribe(), u"   42|7");
}

TEST(QVRMessageTest, AllSixSettingsAreHandedOverAndReset) {
  QVRMessage message = messageOf(u"%1 %2 %3");

  message << QVRSetWidth(30) << QVRSetFill(u'.') << QVRSetAlignment(QVRMsgBase::AlignLeft)
          << QVRSetPrecision(3) << 1.5;
  message << QVRSetSymbol(QVRMsgBase::NoSymbol) << QVRCurrency(2);
  message << QVRSetFormat('Y') << QVRSysDate(24, 12, 2001);

  EXPECT_EQ(message.scribe(MarkingLocale()),
            u"<double:1.500000,3>........... <money:2.000000,0> <date:Y>");
  EXPECT_EQ(message.getWidth(), QVRMsgData::defaultWidth);
  EXPECT_EQ(message.getFill(), QVRMsgData::defaultFill);
  EXPECT_EQ(message.getAlignment(), QVRMsgData::defaultAlignment);
  EXPECT_EQ(message.getPrecision(), QVRMsgData::defaultPrecision);
  EXPECT_EQ(message.getSymbol(), QVRMsgData::defaultSymbol);
  EXPECT_EQ(message.getFormat(), QVRMsgData::defaultFormat);
}

TEST(QVRMessageTest, SettingsWaitOnTheMessageItself) {
  QVRMessage message = messageOf(u"");

  message << QVRSetWidth(1) << QVRSetFill(u'2') << QVRSetAlignment(QVRMsgBase::AlignCenter)
          << QVRSetPrecision(4) << QVRSetSymbol(QVRMsgBase::InternationalSymbol)
          << QVRSetFormat('6');

  EXPECT_EQ(message.getWidth(), 1U);
  EXPECT_EQ(message.getFill(), u'2');
  EXPECT_EQ(message.getAlignment(), QVRMsgBase::AlignCenter);
  EXPECT_EQ(message.getPrecision(), 4U);
  EXPECT_EQ(message.getSymbol(), QVRMsgBase::InternationalSymbol);
  EXPECT_EQ(message.getFormat(), '6');
}

TEST(QVRMessageTest, DefaultSettingsDoNotOverrideThoseOfTheArgument) {
  QVRNumericMsg<int> argument(7);
  argument.setWidth(3);
  argument.setFill(u'0');
  QVRMessage message = messageOf(u"%1 %2");

  message.append(argument);
  message << QVRSetWidth(5);
  message.append(argument);

  EXPECT_EQ(message.scribe(), u"007 00007");
}

TEST(QVRMessageTest, AFormatLetterSetToItsDefaultIsNotHandedOver) {
  EXPECT_EQ(marked(QVRSysDate(24, 12, 2001)), u"<date:x>");
  QVRMessage message = messageOf(u"%1");
  message << QVRSetFormat(QVRMsgBase::DateTime) << QVRSysDate(24, 12, 2001);

  EXPECT_EQ(message.scribe(MarkingLocale()), u"<date:x>");
}

TEST(QVRMessageTest, SettingsAfterTheLastArgumentJustifyTheWholeText) {
  QVRMessage message = messageOf(u"<%1>");
  message << 1 << QVRSetWidth(6) << QVRSetFill(u'*') << QVRSetAlignment(QVRMsgBase::AlignCenter);

  EXPECT_EQ(message.scribe(), u"*<1>**");
}

TEST(QVRMessageTest, SettingsOnABoolJustifyItsWord) {
  QVRMessage message = messageOf(u"%1%2");
  message << QVRSetWidth(6) << true << true;

  EXPECT_EQ(message.scribe(), u"  truetrue");
}

TEST(QVRMessageTest, NestedMessageIsClonedWithItsArgumentsAndSettings) {
  QVRMessage inner = messageOf(u"<%1>");
  inner << 1 << QVRSetWidth(5);
  QVRMessage outer = messageOf(u"%1 of %2");

  outer << inner << 2;
  inner << 9;

  EXPECT_EQ(outer.scribe(), u"  <1> of 2");
}

TEST(QVRMessageTest, MessageCanBeItsOwnArgument) {
  QVRMessage message = messageOf(u"<%1>");

  message << message;
  EXPECT_EQ(message.scribe(), u"<<%1>>");

  message << QVRSetWidth(9) << message;
  EXPECT_EQ(message.scribe(), u"<<%1>>");
  EXPECT_EQ(message.getWidth(), QVRMsgData::defaultWidth);
}

TEST(QVRMessageTest, TextsOutliveWhatWasStreamed) {
  QVRMessage message = messageOf(u"%1 %2 %3");
  {
    std::string narrow = "narrow";
    std::u16string wide = u"wide";
    const char array[] = "array";
    message << narrow << wide << array;
    narrow.assign(narrow.size(), 'x');
    wide.assign(wide.size(), u'x');
  }

  EXPECT_EQ(message.scribe(), u"narrow wide array");
}

TEST(QVRMessageTest, CopiesThatAnOverrideKeepsOutliveTheMessage) {
  std::unique_ptr<KeepingMessage> message = std::make_unique<KeepingMessage>(u"%1", "file.cpp", 1);
  *message << std::u16string(50, u'w');
  const auto kept = std::move(message->kept);
  const auto cloned = std::move(message->cloned);
  message.reset();

  EXPECT_EQ(kept->scribe(QVRLocale::global()), std::u16string(50, u'w'));
  EXPECT_EQ(cloned->scribe(QVRLocale::global()), std::u16string(50, u'w'));
}

TEST(QVRMessageTest, ArgumentDerivedFromAStreamedOneKeepsItsClass) {
  QVRMessage message = messageOf(u"%1 %2");
  KeepingMessage keeping(u"%1", "file.cpp", 1);
  keeping << std::u16string(u"text");

  message.append(LoudMsg(*keeping.kept));

  EXPECT_EQ(message.scribe(), u"LOUD %2");
  EXPECT_EQ(QVRMessage(message).scribe(), u"LOUD %2");
}

TEST(QVRMessageTest, FormatsAndArgumentsOfAnySizeAreKept) {
  const std::u16string longFormat = std::u16string(5000, u'f') + u"%1%2%1000";
  QVRMessage message = messageOf(longFormat.c_str());
  message << std::u16string(5000, u't');
  for (int i = 2; i <= 1000; ++i) message << i << QVRSetWidth(6);

  const QVRMessage copy(message);

  const std::u16string expected =
      std::u16string(5000, u'f') + std::u16string(5000, u't') + u"2" + u"  1000";
  EXPECT_EQ(message.scribe(), expected);
  EXPECT_EQ(QVRMessage(copy).scribe(), expected);
}

TEST(QVRMessageTest, ArgumentWithoutACloneIsLeftOutAndSpendsNothing) {
  QVRMessage message = messageOf(u"%1");
  message << QVRSetWidth(3);
  VanishingMsg::vanished = true;

  message.append(VanishingMsg());
  VanishingMsg::vanished = false;
  EXPECT_EQ(message.getWidth(), 3U);

  message << 1;
  EXPECT_EQ(message.scribe(), u"  1");
}

TEST(QVRMessageTest, CopyWhoseArgumentFindsNoStorageFails) {
  QVRMessage message = messageOf(u"%1%2");
  QVRMessage target = messageOf(u"[%1]");
  target << 5;
  message << 1;
  message.append(VanishingMsg());
  VanishingMsg::vanished = true;

  EXPECT_THROW(QVRMessage{message}, std::bad_alloc);
  EXPECT_THROW(target = message, std::bad_alloc);
  VanishingMsg::vanished = false;

  EXPECT_EQ(target.scribe(), u"[5]");
  EXPECT_EQ(message.scribe(), u"1here");
}

TEST(QVRMessageTest, CopyHasFormatArgumentsAndSettingsOfItsOwn) {
  QVRMessage message = messageOf(u"%1,%2");
  message << 1 << QVRSetWidth(5) << QVRSetFill(u'_');

  QVRMessage copy(message);
  message << 2;

  EXPECT_EQ(copy.scribe(), u"_1,%2");
  EXPECT_EQ(message.scribe(), u"1,____2");
}

TEST(QVRMessageTest, AssignmentReplacesFormatArgumentsAndSettings) {
  QVRMessage source = messageOf(u"%1");
  source << 1 << QVRSetWidth(3);
  QVRMessage target = messageOf(u"%1 %2");
  target << 8 << 9 << QVRSetFill(u'*');

  EXPECT_EQ(&(target = source), &target);

  EXPECT_EQ(target.getFormatStr(), u"%1");
  EXPECT_EQ(target.scribe(), u"  1");
  EXPECT_EQ(source.scribe(), u"  1");
}

TEST(QVRMessageTest, AssignmentToItselfChangesNothing) {
  QVRMessage message = messageOf(u"%1");
  message << 1 << QVRSetWidth(3);
  const QVRMessage& self = message;

  message = self;

  EXPECT_EQ(message.scribe(), u"  1");
}

TEST(QVRMessageTest, MoveLeavesAMessageThatCanBeUsed) {
  QVRMessage source = messageOf(u"a format longer than a short string %1");
  source << 1;

  QVRMessage target(std::move(source));
  EXPECT_EQ(target.scribe(), u"a format longer than a short string 1");
  EXPECT_EQ(source.scribe(), u"");

  source << 2;
  target = std::move(source);
  EXPECT_EQ(target.getFormatStr(), u"");
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<QVRMessage>);
  EXPECT_TRUE(std::is_nothrow_move_assignable_v<QVRMessage>);
}

TEST(QVRMessageTest, CloneIsACopyOnTheHeap) {
  QVRMessage message = messageOf(u"%1");
  message << 1 << QVRSetWidth(3);

  const std::unique_ptr<QVRMsgData> clone(message.clone());

  EXPECT_NE(dynamic_cast<QVRMessage*>(clone.get()), nullptr);
  EXPECT_EQ(clone->scribe(QVRLocale::global()), u"  1");
}

TEST(QVRMessageTest, DerivedMessageSeesEveryArgumentAndStaysItselfWhenNested) {
  WatchingMessage message(u"%1 %2 %3 %4", "file.cpp", 1);
  message << 1 << 2 << true << messageOf(u"in");
  EXPECT_EQ(message.numbers, 2);
  EXPECT_EQ(message.messages, 2);
  EXPECT_EQ(message.scribe(), u"1 2 true in");

  WatchingMessage outer(u"%1", "file.cpp", 1);
  outer << message;
  EXPECT_EQ(outer.messages, 1);
  EXPECT_EQ(outer.scribe(), u"1 2 true in");
}

TEST(QVRMessageTest, NestedMessageIsWrittenInTheSameLocale) {
  QVRMessage inner = messageOf(u"%1");
  inner << 1;

  EXPECT_EQ(marked(inner), u"<long:1>");
}

TEST(QVRMessageTest, ArgumentThatNoPlaceholderNamesIsNotWritten) {
  const ScopedLocale utf8("C.UTF-8");
  QVRMessage message = messageOf(u"%2");
  message << "\xc3" << 2;

  EXPECT_EQ(message.scribe(), u"2");
}

TEST(QVRMessageTest, ConversionFailureOfAnArgumentComesThrough) {
  const ScopedLocale utf8("C.UTF-8");
  QVRMessage message = messageOf(u"%1");
  message << "\xc3";

  EXPECT_THROW(message.scribe(), std::runtime_error);
}

TEST(QVRMessageTest, StreamGetsTheTextInTheEncodingOfTheProcess) {
  QVRMessage message = messageOf(u"\u00e9 %1");
  message << 5;
  std::ostringstream utf8Out;
  std::ostringstream latin1Out;

  {
    const ScopedLocale utf8("C.UTF-8");
    utf8Out << message << '.';
  }
  const ScopedLocale latin1("de_DE.ISO-8859-1");
  latin1Out << message << '.';

  EXPECT_EQ(utf8Out.str(), "\xc3\xa9 5.");
  EXPECT_EQ(latin1Out.str(), "\xe9 5.");
}

TEST(QVRMessageTest, StreamGetsTheTextUpToItsFirstZero) {
  QVRMessage message = messageOf(u"%1");
  message << std::u16string(u"ab\0cd", 5);
  std::ostringstream out;

  out << message << '|';

  EXPECT_EQ(out.str(), "ab|");
}

TEST(QVRMessageTest, StreamIsLeftAloneWhereTheTextCannotBeNarrowed) {
  const ScopedLocale utf8("C.UTF-8");
  const QVRMessage message = messageOf(u"ab\xd800");
  std::ostringstream out;

  try {
    out << message;
    FAIL() << "a lone surrogate was written";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "Invalid wide-character string");
  }
  EXPECT_TRUE(out.good());
  EXPECT_EQ(out.str(), "");
}

TEST(QVRMessageTest, StreamGetsLongAndWideTextsWhole) {
  const ScopedLocale utf8("C.UTF-8");
  QVRMessage message = messageOf(u"%1");
  message << std::u16string(3000, u'\u4e2d');
  std::ostringstream out;

  out << message;

  EXPECT_EQ(out.str().size(), 9000U);
}

TEST(QVRMessageTest, OnlyTextPointersCanBeStreamed) {
  EXPECT_TRUE(kCanBeStreamed<char*>);
  EXPECT_TRUE(kCanBeStreamed<wchar16*>);
  EXPECT_FALSE(kCanBeStreamed<int*>);
  EXPECT_FALSE(kCanBeStreamed<const void*>);
}

}  // namespace
