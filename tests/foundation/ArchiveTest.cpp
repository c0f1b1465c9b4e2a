#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "foundation/RawList.h"

namespace tunevale {
namespace {

using namespace test;

/// The value of an archive whose root is the entry.
std::optional<PlistValue> unarchive(const RawArchive& whole, std::uint64_t root) {
  RawArchive archive = whole;
  archive.root = root;
  return unarchiveObjectWithData(archive.bytes());
}

TEST(KeyedArchive, DecodesWrappedTextAndBytesInEveryForm) {
  RawArchive archive;
  const auto asText = archive.record("NSString", {{"NS.string", archive.list.add(utf16(u"é"))}});
  const auto asUtf8 = archive.record("NSString", {{"NS.bytes", archive.list.add(data("caf\xC3\xA9 \xFF"))}});
  const auto byUid =
      archive.record("NSMutableString", {{"NS.string", archive.list.add(uid(archive.entry(text("x"))))}});
  const auto bytes = archive.record("NSData", {{"NS.bytes", archive.list.add(data("abc"))}});
  const auto dataByUid =
      archive.record("NSData", {{"NS.data", archive.list.add(uid(archive.entry(data("de"))))}});
  const auto bare = archive.entry(data(""));
  EXPECT_EQ(unarchive(archive, archive.arrayRecord({asText, asUtf8, byUid, bytes, dataByUid, bare})),
            PlistValue(PlistArray{"é", "café \uFFFD", "x", asBytes("abc"), asBytes("de"), asBytes("")}));
}

TEST(KeyedArchive, DecodesObjectsOfOtherClassesAsNullBesideUsableOnes) {
  RawArchive archive;
  const auto date = archive.record("NSDate", {{"NS.time", archive.list.add(number(1))}});
  const auto set = archive.record("NSSet", {{"NS.objects", archive.uids({date})}});
  const auto null = archive.record("NSNull", {});
  const auto bareDate = archive.entry("\x33" + bigEndian(0, 8));
  const auto bareArray = archive.entry(archive.list.arrayObject({0}));
  const auto bareDictionary = archive.entry(archive.list.dictionaryObject({0}, {0}));
  const auto bareReference = archive.entry(uid(1));
  const auto usable = archive.entry(text("usable"));
  EXPECT_EQ(unarchive(archive, archive.arrayRecord({date, set, null, bareDate, bareArray, bareDictionary,
                                                    bareReference, 0, usable})),
            PlistValue(PlistArray{PlistValue(), PlistValue(), PlistValue(), PlistValue(), PlistValue(),
                                  PlistValue(), PlistValue(), PlistValue(), "usable"}));
}

TEST(KeyedArchive, DecodesLeavesThatAreNoReferences) {
  RawArchive archive;
  const std::size_t elements = archive.list.array({archive.list.add(text("x")), archive.list.add(number(3))});
  EXPECT_EQ(unarchive(archive, archive.record("NSArray", {{"NS.objects", elements}})),
            PlistValue(PlistArray{"x", 3}));
}

TEST(KeyedArchive, SharesWhatTheArchiveShares) {
  RawArchive archive;
  const auto song = archive.dictionaryRecord({archive.entry(text("id"))}, {archive.entry(text("7"))});
  const auto value = unarchive(archive, archive.arrayRecord({song, song}));
  ASSERT_TRUE(value && value->array() != nullptr && value->array()->size() == 2);
  EXPECT_EQ(value->array()->at(0)->dictionary()->identity(), value->array()->at(1)->dictionary()->identity());
}

TEST(KeyedArchive, SkipsKeysThatAreNoText) {
  RawArchive archive;
  const auto name = archive.entry(text("name"));
  const auto seven = archive.entry(number(7));
  const auto list = archive.arrayRecord({});
  EXPECT_EQ(unarchive(archive, archive.dictionaryRecord({seven, list, 0, name}, {name, name, name, list})),
            PlistValue(PlistDictionary{{"name", PlistArray{}}}));
}

TEST(KeyedArchive, IgnoresOtherFieldsAndUnreachableEntries) {
  RawArchive archive;
  archive.entry("\xF0");  // no object at all, but nothing refers to it
  const auto root = archive.record("NSArray", {{"NS.unheardOf", archive.list.add(number(1))},
                                               {"NS.objects", archive.uids({archive.entry("\x09")})}});
  EXPECT_EQ(unarchive(archive, root), PlistValue(PlistArray{true}));
}

TEST(KeyedArchive, DecodesNothingFromAnythingElse) {
  EXPECT_EQ(unarchiveObjectWithData(nullptr), std::nullopt);
  for (const PlistValue& value :
       {PlistValue(), PlistValue("bplist00"), PlistValue(PlistArray{}), PlistValue(Bytes())}) {
    EXPECT_EQ(unarchiveObjectWithData(&value), std::nullopt);
  }
  EXPECT_EQ(unarchiveObjectWithData(writePropertyList(PlistArray{1})), std::nullopt);
}

TEST(KeyedArchive, NeedsTheRightArchiverAndVersion) {
  RawArchive archive;
  const auto root = archive.entry(text("x"));
  EXPECT_EQ(unarchive(archive, root), PlistValue("x"));
  archive.version = 99999;
  EXPECT_EQ(unarchive(archive, root), std::nullopt);
  archive.version = 100000;
  archive.archiver = "SomeArchiver";
  EXPECT_EQ(unarchive(archive, root), std::nullopt);
}

TEST(KeyedArchive, KeepsTheNameOfNullApartFromNull) {
  const PlistDictionary value{{"$null", "$null"}, {"other", PlistArray{"$null", PlistValue()}}};
  EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(value)), PlistValue(value));
}

}  // namespace
}  // namespace tunevale
