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

TEST(PropertyListReader, ReadsLeavesThatOurWriterDoesNotWrite) {
  constexpr char16_t kHigh = 0xD83D;
  constexpr char16_t kLow = 0xDE00;
  constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
  const auto wide = [](std::uint64_t upper, std::uint64_t lower) {
    return "\x14" + bigEndian(upper, 8) + bigEndian(lower, 8);
  };
  const std::pair<std::string, PlistValue> cases[] = {
      {"\x10\xFF", 255},  // of less than eight bytes, without a sign
      {"\x12\xFF\xFF\xFF\xFF", std::int64_t{4294967295}},
      {wide(0, 7), 7},
      {wide(UINT64_MAX, kSign), std::numeric_limits<std::int64_t>::min()},
      {wide(0, UINT64_MAX), PlistValue()},
      {wide(1, 0), PlistValue()},
      {wide(UINT64_MAX, 0), PlistValue()},
      {"\x22" + bigEndian(0x7FC00001, 4), std::nan("")},
      {text("caf\xC3\xA9 \xFF"), "café \uFFFD"},
      {utf16({}), ""},
      {utf16(std::u16string{u'a', kHigh}), "a\uFFFD"},
      {utf16(std::u16string{kLow, u'a'}), "\uFFFDa"},
      {utf16(std::u16string{kHigh, kHigh, kLow}), "\uFFFD😀"},
  };
  for (const auto& [raw, value] : cases) EXPECT_EQ(readObject(raw), value);
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
