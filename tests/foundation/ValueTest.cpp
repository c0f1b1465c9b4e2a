#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "foundation/PlistValue.h"

namespace tunevale {
namespace {

TEST(PlistArray, StaysAsItWasForWhoeverHoldsItEvenInItself) {
  PlistArray list{1, "two"};
  const PlistArray handedOut = list;
  EXPECT_EQ(list.identity(), handedOut.identity());
  list.set(0, "one");
  EXPECT_EQ(handedOut, (PlistArray{1, "two"}));
  list.append(list);
  list.append(*list.at(0));
  EXPECT_EQ(list, (PlistArray{"one", "two", PlistArray{"one", "two"}, "one"}));
  list = *list.at(2)->array();
  EXPECT_EQ(list, (PlistArray{"one", "two"}));
}

TEST(PlistDictionary, KeepsItsKeysSortedAndUniqueAndStaysAsItWasForWhoeverHoldsIt) {
  PlistDictionary dictionary =
      PlistDictionary::fromEntries({{"b", 1}, {"é", 2}, {"", 3}, {"a", 4}, {"b", 5}});
  dictionary.set("c", 6);
  const PlistDictionary handedOut = dictionary;
  dictionary.remove("a");
  dictionary.remove("unknown");
  dictionary.set("b", handedOut);
  std::string keys;
  for (const auto& entry : handedOut) keys.append(entry.key.view()) += ' ';
  EXPECT_EQ(keys, " a b c é ");
  EXPECT_EQ(*handedOut.find("b"), PlistValue(5));
  EXPECT_EQ(handedOut.find("d"), nullptr);
  EXPECT_EQ(dictionary, (PlistDictionary{{"b", handedOut}, {"c", 6}, {"", 3}, {"é", 2}}));
  PlistDictionary one{{"b", 1}};
  one.set("b", one);
  EXPECT_EQ(one, (PlistDictionary{{"b", PlistDictionary{{"b", 1}}}}));
  one.remove("b");
  EXPECT_EQ(one, PlistDictionary());
}

TEST(PlistValue, ComparesKindsAndContents) {
  const std::pair<PlistValue, PlistValue> different[] = {
      {1, 1.0},
      {1, true},
      {"ab", asBytes("ab")},
      {PlistArray{}, PlistDictionary{}},
      {PlistArray{1, 2}, PlistArray{1}},
      {PlistDictionary{{"a", 1}}, PlistDictionary{{"b", 1}}}};
  for (const auto& [left, right] : different) EXPECT_NE(left, right);
  EXPECT_EQ(PlistValue(0.0), PlistValue(-0.0));
  EXPECT_EQ(PlistValue(std::nan("1")), PlistValue(std::nan("2")));
}

TEST(PlistValue, MovesAndAssignsBetweenItsOwnParts) {
  PlistValue value = PlistArray{PlistValue(PlistArray{"inner"})};
  value = *value.array()->at(0);
  EXPECT_EQ(value, PlistValue(PlistArray{"inner"}));
  PlistValue moved = std::move(value);
  EXPECT_TRUE(value.isNull());  // NOLINT: moved-from is null
  moved = *moved.array()->at(0);
  EXPECT_EQ(moved, PlistValue("inner"));
}

TEST(PlistValue, DiesWithoutRecursion) {
  PlistValue value;
  for (int i = 0; i < 200'000; ++i)
    value = i % 2 == 0 ? PlistValue(PlistArray{value}) : PlistDictionary{{"k", value}};
  value = PlistValue();
}

}  // namespace
}  // namespace tunevale
