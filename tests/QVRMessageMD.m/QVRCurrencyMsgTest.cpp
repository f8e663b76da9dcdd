// Amounts of money as values and as arguments.
#include "QVRCurrencyMsg.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "MarkingLocale.h"

namespace {

TEST(QVRCurrencyTest, HoldsOneAmount) {
  QVRCurrency currency = 1.5;
  const QVRCurrency copy = currency;

  currency.setValue(-2);

  EXPECT_EQ(currency.getValue(), -2);
  EXPECT_EQ(copy.getValue(), 1.5);
  EXPECT_EQ(sizeof(QVRCurrency), sizeof(double));
}

TEST(QVRCurrencyTest, AssignmentCopiesTheAmount) {
  QVRCurrency currency = 1.5;

  EXPECT_EQ(&(currency = QVRCurrency(3)), &currency);

  EXPECT_EQ(currency.getValue(), 3);
}

TEST(QVRCurrencyMsgTest, AmountGoesWithTheSymbolToTheLocale) {
  QVRCurrencyMsg argument(QVRCurrency(2.5));
  EXPECT_EQ(argument.scribe(MarkingLocale()), u"<money:2.500000,1>");

  argument.setSymbol(QVRMsgBase::InternationalSymbol);
  EXPECT_EQ(argument.scribe(MarkingLocale()), u"<money:2.500000,2>");
}

TEST(QVRCurrencyMsgTest, CloneHasClassValueAndSettings) {
  QVRCurrencyMsg argument(QVRCurrency(1.5));
  argument.setWidth(6);

  const std::unique_ptr<QVRMsgData> clone(argument.clone());

  EXPECT_NE(dynamic_cast<QVRCurrencyMsg*>(clone.get()), nullptr);
  EXPECT_EQ(clone->scribe(QVRLocale::global()), u" $ 1.5");
}

TEST(QVRCurrencyMsgTest, IsMadeExplicitly) {
  EXPECT_FALSE((std::is_convertible_v<QVRCurrency, QVRCurrencyMsg>));
}

}  // namespace
