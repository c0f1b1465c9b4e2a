#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/PlistValue.h"

namespace tunevale {
namespace {

TEST(PlistArray, StaysAsItWasForWhoeverHoldsIt) {
  PlistArray list{1, "two"};
  const PlistArray handedOut = list;
  EXPECT_EQ(list.identity(), handedOut.identity());
  list.append(3);
  list.set(0, "one");
  EXPECT_EQ(handedOut, (PlistArray{1, "two"}));
  EXPECT_EQ(list, (PlistArray{"one", "two", 3}));
}

TEST(PlistArray, MayHoldACopyOfItself) {
  PlistArray list{1};
  list.append(list);
  list.append(*list.at(0));
  EXPECT_EQ(list, (PlistArray{1, PlistArray{1}, 1}));
  list = *list.at(1)->array();
  EXPECT_EQ(list, (PlistArray{1}));
}

TEST(PlistDictionary, KeepsItsKeysSortedAndUnique) {
  PlistDictionary dictionary =
      PlistDictionary::fromEntries({{"b", 1}, {"é", 2}, {"", 3}, {"a", 4}, {"b", 5}});
  dictionary.set("c", 6);
  dictionary.set("a", 7);
  std::vector<std::string> keys;
  for (const auto& entry : dictionary) keys.emplace_back(entry.key.view());
  EXPECT_EQ(keys, (std::vector<std::string>{"", "a", "b", "c", "é"}));
  EXPECT_EQ(*dictionary.find("b"), PlistValue(5));
  EXPECT_EQ(*dictionary.find("a"), PlistValue(7));
  EXPECT_EQ(dictionary.find("d"), nullptr);
}

TEST(PlistDictionary, StaysAsItWasForWhoeverHoldsIt) {
  PlistDictionary dictionary{{"a", 1}, {"b", 2}};
  const PlistDictionary handedOut = dictionary;
  dictionary.remove("a");
  dictionary.remove("unknown");
  dictionary.set("b", dictionary);
  EXPECT_EQ(handedOut, (PlistDictionary{{"a", 1}, {"b", 2}}));
  EXPECT_EQ(dictionary, (PlistDictionary{{"b", PlistDictionary{{"b", 2}}}}));
  dictionary.remove("b");
  EXPECT_EQ(dictionary, PlistDictionary());
}

TEST(PlistValue, ComparesKindsAndContents) {
  EXPECT_NE(PlistValue(1), PlistValue(1.0));
  EXPECT_NE(PlistValue(1), PlistValue(true));
  EXPECT_NE(PlistValue("ab"), PlistValue(asBytes("ab")));
  EXPECT_NE(PlistValue(PlistArray{}), PlistValue(PlistDictionary{}));
  EXPECT_EQ(PlistValue(0.0), PlistValue(-0.0));
  EXPECT_EQ(PlistValue(std::nan("1")), PlistValue(std::nan("2")));
  EXPECT_NE((PlistArray{1, 2}), (PlistArray{1}));
  EXPECT_NE((PlistDictionary{{"a", 1}}), (PlistDictionary{{"b", 1}}));
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

TEST(PlistString, IsAlwaysValidUtf8) {
  EXPECT_EQ(PlistString("a\xFF").view(), "a\uFFFD");
  EXPECT_EQ(PlistValue("\xED\xA0\x80").string(), "\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(PlistString("").view(), "");
}

TEST(PlistValue, DiesWithoutRecursion) {
  PlistValue value;
  for (int i = 0; i < 200'000; ++i)
    value = i % 2 == 0 ? PlistValue(PlistArray{value}) : PlistDictionary{{"k", value}};
  value = PlistValue();
}

}  // namespace
}  // namespace tunevale
