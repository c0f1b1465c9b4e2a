#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "foundation/RawList.h"

namespace tunevale {
namespace {

using namespace test;

TEST(PropertyListReader, ReadsLeavesThatOurWriterDoesNotWriteAndOthersAsNull) {
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
      {"\x33" + bigEndian(0x41C0000000000000, 8), PlistValue()},  // a date
      {uid(3), PlistValue()},
      {head(0xC0, 1) + '\0', PlistValue()},  // a set
      {text("caf\xC3\xA9 \xFF"), "café \uFFFD"},
      {utf16({}), ""},
      {utf16(std::u16string{u'a', kHigh}), "a\uFFFD"},
      {utf16(std::u16string{kLow, u'a'}), "\uFFFDa"},
      {utf16(std::u16string{kHigh, kHigh, kLow}), "\uFFFD😀"},
  };
  for (const auto& [raw, value] : cases) {
    RawList list;
    list.array({1, 2});
    list.add(raw);
    list.add(text("beside it"));
    EXPECT_EQ(readPropertyList(list.bytes()), PlistValue(PlistArray{value, "beside it"}));
  }
}

TEST(PropertyListReader, SkipsKeysThatAreNoTextAndKeepsTheLastOfEqualOnes) {
  RawList list;
  list.root = list.dictionary({1, 2, 3, 4, 5, 0}, {2, 1, 2, 3, 2, 2});
  for (const std::string& raw : {text("b"), number(7), text("a"), utf16(u"b"), data("b")}) list.add(raw);
  EXPECT_EQ(readPropertyList(list.bytes()), PlistValue(PlistDictionary{{"a", 7}, {"b", "a"}}));
}

TEST(PropertyListReader, ReadsReferencesAndOffsetsOfEverySizeAndSharesWhatTheListShares) {
  for (std::size_t size = 1; size <= 8; ++size) {
    RawList list;
    list.refSize = list.offsetSize = size;
    list.array({1, 1, 2, 2});
    list.dictionary({2}, {2});
    list.add(text("x"));
    const PlistDictionary dictionary{{"x", "x"}};
    const auto value = readPropertyList(list.bytes());
    ASSERT_EQ(value, PlistValue(PlistArray{dictionary, dictionary, "x", "x"})) << size;
    const PlistArray& array = *value->array();
    EXPECT_EQ(array.at(0)->dictionary()->identity(), array.at(1)->dictionary()->identity());
    EXPECT_EQ(array.at(2)->string()->data(), array.at(3)->string()->data());
    EXPECT_EQ(array.at(2)->string()->data(), array.at(0)->dictionary()->find("x")->string()->data());
  }
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

TEST(KeyedArchive, DecodesEveryFormAndObjectsOfOtherClassesAsNull) {
  RawArchive archive;
  archive.entry("\xF0");  // no object at all, but nothing refers to it
  const auto wrapped = [&](const char* className, const char* field, const std::string& raw) {
    return archive.record(className, {{field, archive.list.add(raw)}});
  };
  const auto usable = archive.entry(text("usable"));
  const auto seven = archive.entry(number(7));
  const auto nothing = archive.arrayRecord({});
  const auto bareList = archive.list.array({archive.list.add(text("x")), archive.list.add(number(3))});
  const std::pair<std::uint64_t, PlistValue> cases[] = {
      {usable, "usable"},
      {wrapped("NSString", "NS.string", utf16(u"é")), "é"},
      {wrapped("NSString", "NS.bytes", data("caf\xC3\xA9 \xFF")), "café \uFFFD"},
      {wrapped("NSMutableString", "NS.string", uid(usable)), "usable"},
      {wrapped("NSData", "NS.bytes", data("abc")), asBytes("abc")},
      {wrapped("NSData", "NS.data", uid(archive.entry(data("de")))), asBytes("de")},
      {archive.entry(data("")), asBytes("")},
      {wrapped("NSDate", "NS.time", number(1)), PlistValue()},
      {archive.record("NSSet", {{"NS.objects", archive.uids({usable})}}), PlistValue()},
      {archive.record("NSNull", {}), PlistValue()},
      {archive.entry("\x33" + bigEndian(0, 8)), PlistValue()},
      {archive.entry(archive.list.arrayObject({0})), PlistValue()},
      {archive.entry(archive.list.dictionaryObject({0}, {0})), PlistValue()},
      {archive.entry(uid(usable)), PlistValue()},
      {0, PlistValue()},
      // other fields beside the known one, and elements that are no references
      {archive.record("NSArray", {{"NS.other", bareList}, {"NS.objects", bareList}}), PlistArray{"x", 3}},
      {archive.dictionaryRecord({seven, nothing, 0, usable}, {usable, usable, usable, nothing}),
       PlistDictionary{{"usable", PlistArray{}}}},
  };
  RawArchive::Uids all;
  PlistArray expected;
  for (const auto& [entry, value] : cases) {
    all.insert(all.end(), 2, entry);
    expected.append(value);
    expected.append(value);
  }
  archive.root = archive.arrayRecord(all);
  const auto value = unarchiveObjectWithData(archive.bytes());
  ASSERT_EQ(value, PlistValue(expected));
  const std::size_t last = all.size() - 1;  // one object twice is one dictionary
  EXPECT_EQ(value->array()->at(last)->dictionary()->identity(),
            value->array()->at(last - 1)->dictionary()->identity());
}

TEST(KeyedArchive, NeedsAnArchiveOfTheRightArchiverAndVersion) {
  const PlistValue others[] = {PlistValue(), "bplist00", PlistArray{}, Bytes(),
                               writePropertyList(PlistArray{1})};
  for (const PlistValue& value : others) EXPECT_EQ(unarchiveObjectWithData(&value), std::nullopt);
  EXPECT_EQ(unarchiveObjectWithData(nullptr), std::nullopt);
  RawArchive archive;
  archive.root = archive.entry(text("x"));
  EXPECT_EQ(unarchiveObjectWithData(archive.bytes()), PlistValue("x"));
  archive.version = 99999;
  EXPECT_EQ(unarchiveObjectWithData(archive.bytes()), std::nullopt);
  archive.version = 100000;
  archive.archiver = "SomeArchiver";
  EXPECT_EQ(unarchiveObjectWithData(archive.bytes()), std::nullopt);
}

}  // namespace
}  // namespace tunevale
