#include <cerrno>
#include <fstream>
#include <set>

#include <gtest/gtest.h>

#include "TestDisk.h"
#include "foundation/PropertyList.h"
#include "host/DefaultsFile.h"
#include "host/PosixFiles.h"
#include "support/CollectingLog.h"
#include "support/TemporaryFolder.h"

namespace tunevale::host {
namespace {

struct DefaultsFileTest : testing::Test {
  DefaultsFile open() { return DefaultsFile(path, log); }
  test::TemporaryFolder folder;
  std::string path = folder.path("defaults.plist");
  test::CollectingLog log;
};

// A write follows each change without a call, but not each has one of its own.
TEST_F(DefaultsFileTest, WritesManyChangesTogetherAndHoldsUpNobody) {
  test::TestDisk disk;
  DefaultsFile defaults = open();
  disk.held.lock();
  for (int i = 0; i < 1000; ++i) {
    EXPECT_TRUE(defaults.setObject(PlistValue(i), "volume"));
    defaults.synchronize();
  }
  EXPECT_EQ(defaults.objectForKey("volume"), PlistValue(999));
  disk.held.unlock();
  EXPECT_TRUE(defaults.synchronizeAndWait());
  EXPECT_EQ(open().objectForKey("volume"), PlistValue(999));
  EXPECT_TRUE(defaults.synchronizeAndWait());
  EXPECT_TRUE(std::set<std::string>({"file rename folder ", "file rename folder file rename folder "})
                  .contains(disk.calls))
      << disk.calls;
}

TEST_F(DefaultsFileTest, PutsADamagedFileAsideAndStartsEmpty) {
  const Bytes whole = writePropertyList(PlistValue(PlistDictionary{{"volume", 7}}));
  const std::string damaged[] = {"", "<?xml version=\"1.0\"?>", std::string(asText(whole).substr(0, 20)),
                                 std::string(asText(writePropertyList(PlistValue(PlistArray{}))))};
  int n = 0;
  for (const std::string& contents : damaged) {
    std::ofstream(path, std::ios::binary) << contents;
    const std::string aside = path + ".damaged-" + std::to_string(++n);
    {
      DefaultsFile defaults = open();
      EXPECT_FALSE(defaults.objectForKey("volume"));
      EXPECT_EQ(asText(readFile(aside, 1000).value()), contents);
      defaults.setObject(PlistValue(8), "volume");
    }
    EXPECT_EQ(log.lines(),
              std::vector{"User defaults are damaged and start empty; the file is kept as " + aside});
    EXPECT_EQ(open().objectForKey("volume"), PlistValue(8));
    log.clear();
  }
}

TEST_F(DefaultsFileTest, KeepsInMemoryWhatTheDiskRefusesAndTriesAgain) {
  test::TestDisk disk;
  DefaultsFile defaults = open();
  defaults.setObject(PlistValue(1), "old");
  EXPECT_TRUE(defaults.synchronizeAndWait());
  disk.refusal = ENOSPC;
  for (const char* key : {"a", "b"}) {
    EXPECT_TRUE(defaults.setObject(PlistValue(2), key));
    EXPECT_FALSE(defaults.synchronizeAndWait());
    EXPECT_EQ(defaults.objectForKey("a"), PlistValue(2));
  }
  EXPECT_EQ(open().objectForKey("old"), PlistValue(1));
  EXPECT_EQ(log.lines(),
            std::vector{"User defaults stay in memory: cannot write " + path + ": No space left on device"});
  disk.refusal = 0;
  EXPECT_TRUE(defaults.synchronizeAndWait());
  for (const char* key : {"old", "a", "b"}) EXPECT_TRUE(open().objectForKey(key)) << key;
  disk.refusal = ENOSPC;
  EXPECT_TRUE(defaults.setObject(PlistValue(3), "a"));
  EXPECT_FALSE(defaults.synchronizeAndWait());
  EXPECT_EQ(log.lines().size(), 2U) << "said again, once it was mended";
}

// One thing inside n lists, or in as many places as 2 to the n: few bytes, which share it.
PlistValue nested(int n, bool twice, PlistValue value = 1) {
  for (; n > 0; --n) value = PlistValue(twice ? PlistArray{value, value} : PlistArray{value});
  return value;
}

TEST_F(DefaultsFileTest, RefusesWhatItCouldNotReadBackAndKeepsTheOthers) {
  const PlistValue largest = nested(16, true), deepest = nested(63, false);
  {
    DefaultsFile defaults = open();
    const PlistValue half = nested(15, true);
    const PlistValue longText = std::string(std::size_t{16} << 20, 'x');
    for (const PlistValue& refused : {nested(40, true), PlistValue(PlistArray{half, half, 1}),
                                      nested(64, false), PlistValue(PlistDictionary{{"", nested(63, false)}}),
                                      longText, PlistValue(PlistDictionary{{*longText.string(), 1}})}) {
      EXPECT_TRUE(defaults.setObject(deepest, "chart"));
      EXPECT_FALSE(defaults.setObject(refused, "chart"));
      EXPECT_EQ(log.lines(), std::vector<std::string>{"User defaults do not keep chart: it is too large"});
      EXPECT_EQ(defaults.objectForKey("chart"), deepest);
      log.clear();
    }
    for (int key = 1; key <= 8; ++key) {
      EXPECT_EQ(defaults.setObject(largest, std::to_string(key)), key < 8);  // beside the chart
    }
    EXPECT_TRUE(defaults.setObject(std::nullopt, "chart"));
    EXPECT_TRUE(defaults.setObject(largest, "8"));
    EXPECT_TRUE(defaults.setObject(PlistValue(7), "volume"));
  }
  DefaultsFile defaults = open();
  for (int key = 1; key <= 8; ++key) EXPECT_EQ(defaults.objectForKey(std::to_string(key)), largest) << key;
  EXPECT_EQ(defaults.objectForKey("volume"), PlistValue(7));
  EXPECT_FALSE(defaults.setObject(largest, "9"));  // it knows what the file has taken already
  EXPECT_TRUE(defaults.setObject(deepest, "8"));
}

}  // namespace
}  // namespace tunevale::host
