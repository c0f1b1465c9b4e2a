#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>

#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "tagged/TaggedJson.h"

namespace tunevale {
namespace {

namespace fs = std::filesystem;

void expectBothRoundTrips(const PlistValue& value) {
  EXPECT_EQ(readPropertyList(writePropertyList(value)), value);
  EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(value)), value);
}

std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Files that other implementations wrote decode to what the .json beside them says: NAME.plist and
// NAME.archive (or NAME-variant.archive) to NAME.json. python-plistlib/ was written by plistlib and
// python/keyed.py, libplist/ by its plistutil (-f bin) from the same values in XML, gnustep/ by its make.m
// with GNUstep 1.28.
TEST(GoldenFiles, DecodeToWhatTheyHold) {
  int files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(TUNEVALE_SOURCE_DIR "/tests/foundation/golden")) {
    const fs::path& path = entry.path();
    const bool archive = path.extension() == ".archive";
    if (!archive && path.extension() != ".plist") continue;
    SCOPED_TRACE(path.string());
    const std::string bytes = contents(path), stem = path.stem().string();
    std::string error;
    const auto value =
        fromTaggedJsonText(contents(path.parent_path() / (stem.substr(0, stem.find('-')) + ".json")), error);
    ASSERT_TRUE(value) << error;
    EXPECT_EQ(archive ? unarchiveObjectWithData(asBytes(bytes)) : readPropertyList(asBytes(bytes)), *value);
    expectBothRoundTrips(*value);
    ++files;
  }
  EXPECT_GE(files, 17);
}

// Golden files and the comparison with plistlib have leaves of every other size.
TEST(Writers, RoundTrip) {
  using Reals = std::numeric_limits<double>;
  PlistArray many;
  for (int i = 0; i < 70000; ++i) many.append(i);  // references of four bytes
  const double reals[] = {-1e300, Reals::max(), -Reals::infinity(), Reals::quiet_NaN()};
  for (const double value : reals) expectBothRoundTrips(value);
  for (const std::int64_t value : {65535L, 4294967295L, -1L}) expectBothRoundTrips(value);
  for (const std::string& text : {std::string("a\0b", 3), std::string(70000, 'x')})
    expectBothRoundTrips(text);
  expectBothRoundTrips(PlistDictionary{{"$null", "$null"}, {"other", PlistArray{"$null", PlistValue()}}});
  expectBothRoundTrips(PlistArray{});
  expectBothRoundTrips(PlistDictionary{});
  expectBothRoundTrips(
      PlistArray{many, PlistDictionary{{"", many}, {"ключ", PlistArray{PlistArray{}, "", Bytes()}}}, 1, 1.0,
                 true, PlistValue()});
  // Keys that look alike to what remembers lists of keys.
  expectBothRoundTrips(
      PlistArray{PlistDictionary{{"a", 1}, {"bc", 2}}, PlistDictionary{{"a", 1}, {"bd", 2}}});
  EXPECT_TRUE(std::signbit(readPropertyList(writePropertyList(-0.0))->real().value()));
}

TEST(Writers, WriteEqualPartsOnceAndEqualValuesAsEqualBytes) {
  const std::string longText(1000, 'x');
  PlistArray shared, apart;
  const PlistDictionary part{{"text", longText}, {"list", PlistArray{longText, 1, 2, 3}}};
  for (int i = 0; i < 20; ++i) {
    PlistDictionary other;
    other.set("text", std::string(1000, 'x'));
    other.set("list", PlistArray{longText, 1, 2, 3});
    shared.append(part);
    apart.append(other);
  }
  EXPECT_LT(writePropertyList(apart).size(), 1200U);
  EXPECT_LT(archivedDataWithRootObject(apart).size(), 1600U);
  EXPECT_EQ(writePropertyList(shared), writePropertyList(apart));
  EXPECT_EQ(archivedDataWithRootObject(shared), archivedDataWithRootObject(apart));
}

TEST(Writers, CutWhatIsNestedTooDeep) {
  const auto nested = [](int levels, PlistValue core) {
    for (int i = 0; i < levels; ++i) core = PlistArray{core};
    return core;
  };
  expectBothRoundTrips(nested(64, 7));
  // A part that is shared keeps its depth where there is room for it.
  const PlistValue part = nested(10, 7);
  const std::pair<PlistValue, PlistValue> cases[] = {
      {nested(64, PlistArray{7}), nested(64, PlistValue())},
      {PlistArray{nested(60, part), part}, PlistArray{nested(60, nested(3, PlistValue())), part}},
      {PlistArray{part, nested(60, part)}, PlistArray{part, nested(60, nested(3, PlistValue()))}}};
  for (const auto& [deep, cut] : cases) {
    EXPECT_EQ(readPropertyList(writePropertyList(deep)), cut);
    EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(deep)), cut);
  }
  EXPECT_TRUE(readPropertyList(writePropertyList(nested(200000, 7))));
}

}  // namespace
}  // namespace tunevale
