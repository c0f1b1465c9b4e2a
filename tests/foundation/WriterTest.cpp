#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"

namespace tunevale {
namespace {

void expectBothRoundTrips(const PlistValue& value) {
  EXPECT_EQ(readPropertyList(writePropertyList(value)), value);
  EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(value)), value);
}

// Golden files and the comparison with plistlib have leaves of every other size.
TEST(Writers, RoundTripLeaves) {
  using Reals = std::numeric_limits<double>;
  for (const double value : {-1e300, Reals::max(), -Reals::infinity(), Reals::quiet_NaN()}) {
    expectBothRoundTrips(value);
  }
  for (const std::int64_t value : {65535L, 4294967295L, -1L}) expectBothRoundTrips(value);
  expectBothRoundTrips(std::string("a\0b", 3));
  expectBothRoundTrips(std::string(70000, 'x'));
  EXPECT_TRUE(std::signbit(readPropertyList(writePropertyList(-0.0))->real().value()));
}

TEST(Writers, RoundTripContainers) {
  expectBothRoundTrips(PlistArray{});
  expectBothRoundTrips(PlistDictionary{});
  PlistArray many;
  for (int i = 0; i < 70000; ++i) many.append(i);  // references of four bytes
  expectBothRoundTrips(
      PlistArray{many, PlistDictionary{{"", many}, {"ключ", PlistArray{PlistArray{}, "", Bytes()}}}, 1, 1.0,
                 true, PlistValue()});
}

TEST(Writers, WriteEqualPartsOnce) {
  const std::string longText(1000, 'x');
  const auto once = [&] {
    return PlistDictionary{{"text", longText}, {"list", PlistArray{longText, 1, 2, 3}}};
  };
  PlistArray several;
  for (int i = 0; i < 20; ++i) several.append(once());
  EXPECT_LT(writePropertyList(several).size(), 1200U);
  EXPECT_LT(archivedDataWithRootObject(several).size(), 1600U);
}

TEST(Writers, GiveEqualBytesForEqualValues) {
  const PlistDictionary part{{"a", 1}, {"b", PlistArray{1.5}}};
  PlistDictionary other;
  other.set("b", PlistArray{1.5});
  other.set("a", 1);
  const PlistArray shared{part, part};
  const PlistArray apart{part, other};
  EXPECT_EQ(writePropertyList(shared), writePropertyList(apart));
  EXPECT_EQ(archivedDataWithRootObject(shared), archivedDataWithRootObject(apart));
}

TEST(Writers, CutWhatIsNestedTooDeep) {
  const auto nested = [](int levels, PlistValue core) {
    for (int i = 0; i < levels; ++i) core = PlistArray{core};
    return core;
  };
  expectBothRoundTrips(nested(64, 7));
  EXPECT_EQ(readPropertyList(writePropertyList(nested(64, PlistArray{7}))), nested(64, PlistValue()));
  EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(nested(64, PlistArray{7}))),
            nested(64, PlistValue()));

  // A part that is shared keeps its depth where there is room for it.
  const PlistValue part = nested(10, 7);
  const PlistValue both = PlistArray{nested(60, part), part};
  const PlistValue cut = PlistArray{nested(60, nested(3, PlistValue())), part};
  EXPECT_EQ(readPropertyList(writePropertyList(both)), cut);
  EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(both)), cut);

  EXPECT_TRUE(readPropertyList(writePropertyList(nested(200000, 7))));
}

}  // namespace
}  // namespace tunevale
