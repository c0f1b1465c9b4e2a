#include <bit>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "foundation/PropertyList.h"
#include "foundation/RawList.h"

namespace tunevale {
namespace {

using namespace test;

/// The value of a list with this one object.
std::optional<PlistValue> readObject(const std::string& raw) {
  RawList list;
  list.add(raw);
  return readPropertyList(list.bytes());
}

TEST(PropertyListReader, ReadsIntegersOfEverySize) {
  EXPECT_EQ(readObject("\x10\xFF"), PlistValue(255));
  EXPECT_EQ(readObject("\x11\xFF\xFF"), PlistValue(65535));
  EXPECT_EQ(readObject("\x12\xFF\xFF\xFF\xFF"), PlistValue(std::int64_t{4294967295}));
  EXPECT_EQ(readObject(number(-2)), PlistValue(-2));
  EXPECT_EQ(readObject("\x14" + bigEndian(0, 8) + bigEndian(7, 8)), PlistValue(7));
  EXPECT_EQ(readObject("\x14" + bigEndian(UINT64_MAX, 8) + bigEndian(std::uint64_t{1} << 63, 8)),
            PlistValue(std::numeric_limits<std::int64_t>::min()));
}

TEST(PropertyListReader, ReadsIntegersPastSixtyFourSignedBitsAsNull) {
  EXPECT_EQ(readObject("\x14" + bigEndian(0, 8) + bigEndian(UINT64_MAX, 8)), PlistValue());
  EXPECT_EQ(readObject("\x14" + bigEndian(1, 8) + bigEndian(0, 8)), PlistValue());
  EXPECT_EQ(readObject("\x14" + bigEndian(UINT64_MAX, 8) + bigEndian(0, 8)), PlistValue());
}

TEST(PropertyListReader, ReadsRealsOfBothSizes) {
  EXPECT_EQ(readObject("\x22" + bigEndian(std::bit_cast<std::uint32_t>(0.5F), 4)), PlistValue(0.5));
  EXPECT_EQ(readObject("\x23" + bigEndian(std::bit_cast<std::uint64_t>(0.1), 8)), PlistValue(0.1));
  EXPECT_EQ(readObject("\x22" + bigEndian(0x7FC00001, 4)), PlistValue(std::nan("")));
}

TEST(PropertyListReader, ReadsTextInBothEncodings) {
  EXPECT_EQ(readObject(text("a long enough text")), PlistValue("a long enough text"));
  EXPECT_EQ(readObject(text("caf\xC3\xA9 \xFF")), PlistValue("café \xEF\xBF\xBD"));
  EXPECT_EQ(readObject(utf16(u"नमस्ते é 😀")), PlistValue("नमस्ते é 😀"));
  EXPECT_EQ(readObject(utf16({})), PlistValue(""));
}

TEST(PropertyListReader, ReplacesLoneSurrogates) {
  constexpr char16_t kHigh = 0xD83D;
  constexpr char16_t kLow = 0xDE00;
  EXPECT_EQ(readObject(utf16(std::u16string{u'a', kHigh})), PlistValue("a\uFFFD"));
  EXPECT_EQ(readObject(utf16(std::u16string{kLow, u'a'})), PlistValue("\uFFFDa"));
  EXPECT_EQ(readObject(utf16(std::u16string{kHigh, kHigh, kLow})), PlistValue("\uFFFD😀"));
}

TEST(PropertyListReader, ReadsLeavesItCannotHoldAsNullBesideUsableOnes) {
  RawList list;
  list.root = list.array({1, 2, 3, 4});
  list.add("\x33" + bigEndian(0x41C0000000000000, 8));  // a date
  list.add(uid(3));
  list.add(head(0xC0, 1) + '\0');  // a set
  list.add(text("usable"));
  EXPECT_EQ(readPropertyList(list.bytes()),
            PlistValue(PlistArray{PlistValue(), PlistValue(), PlistValue(), "usable"}));
}

TEST(PropertyListReader, SkipsKeysThatAreNoTextAndKeepsTheLastOfEqualOnes) {
  RawList list;
  list.root = list.dictionary({1, 2, 3, 4, 5, 0}, {2, 1, 2, 3, 2, 2});
  list.add(text("b"));
  list.add(number(7));
  list.add(text("a"));
  list.add(utf16(u"b"));
  list.add(data("b"));
  EXPECT_EQ(readPropertyList(list.bytes()), PlistValue(PlistDictionary{{"a", 7}, {"b", "a"}}));
}

TEST(PropertyListReader, ReadsReferencesAndOffsetsOfEverySize) {
  for (std::size_t size = 1; size <= 8; ++size) {
    RawList list;
    list.refSize = list.offsetSize = size;
    list.root = list.add("");
    list.objects[0] = list.arrayObject({1, 2});
    list.add(text("x"));
    list.dictionary({1}, {1});
    EXPECT_EQ(readPropertyList(list.bytes()), PlistValue(PlistArray{"x", PlistDictionary{{"x", "x"}}}))
        << size;
  }
}

TEST(PropertyListReader, SharesWhatTheListShares) {
  RawList list;
  list.array({1, 1, 2, 2});
  list.array({2});
  list.add(text("shared"));
  const auto value = readPropertyList(list.bytes());
  ASSERT_TRUE(value && value->array() != nullptr);
  const PlistArray& array = *value->array();
  EXPECT_EQ(array.at(0)->array()->identity(), array.at(1)->array()->identity());
  EXPECT_EQ(array.at(2)->string()->data(), array.at(3)->string()->data());
  EXPECT_EQ(array.at(2)->string()->data(), array.at(0)->array()->at(0)->string()->data());
}

TEST(PropertyListReader, ReadsSixtyFourLevelsAndNoMore) {
  for (std::size_t levels = 64; levels <= 65; ++levels) {
    RawList list;
    for (std::size_t i = 1; i < levels; ++i) list.array({i});
    list.array({});
    EXPECT_EQ(readPropertyList(list.bytes()).has_value(), levels == 64);
    // The same depth, reached by way of a part that was read before at a lesser depth.
    list.array({levels / 2, 0});
    list.root = levels;
    EXPECT_FALSE(readPropertyList(list.bytes()));
  }
}

}  // namespace
}  // namespace tunevale
