#include <csignal>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "foundation/PropertyList.h"
#include "host/DefaultsFile.h"
#include "host/PosixFiles.h"
#include "support/CollectingLog.h"
#include "support/TemporaryFolder.h"

namespace tunevale::host {
namespace {

class DefaultsFileTest : public testing::Test {
 protected:
  DefaultsFile open() { return DefaultsFile(path, log); }
  test::TemporaryFolder folder;
  std::string path = folder.path("defaults.plist");
  test::CollectingLog log;
};

// A write follows each change without a call, but not each has one of its own.
TEST_F(DefaultsFileTest, WritesManyChangesTogether) {
  std::filesystem::file_time_type seen;
  int writes = 0;
  DefaultsFile defaults = open();
  for (int i = 0; i < 20'000; ++i) {
    defaults.setObject(PlistValue(i), "volume");
    std::error_code missing;
    const auto written = std::filesystem::last_write_time(path, missing);
    writes += std::exchange(seen, written) != written ? 1 : 0;
  }
  EXPECT_GT(writes, 1);  // the first is the missing file's
  EXPECT_LT(writes, 10'000);
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

// Files past a size cannot be written while this lives, as on a full disk.
class FullDisk {
 public:
  FullDisk() {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit tiny{16, before_.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &tiny);
  }
  ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_{};
};

TEST_F(DefaultsFileTest, KeepsInMemoryWhatCannotBeWrittenAndTriesAgain) {
  {
    DefaultsFile defaults = open();
    defaults.setObject(PlistValue(1), "old");
    defaults.synchronize();
    {
      const FullDisk full;
      for (const char* key : {"a", "b"}) {
        defaults.setObject(PlistValue(2), key);
        defaults.synchronize();
      }
      EXPECT_EQ(open().objectForKey("old"), PlistValue(1));
      EXPECT_EQ(defaults.objectForKey("a"), PlistValue(2));
    }
    EXPECT_EQ(log.lines(),
              std::vector{"User defaults stay in memory: cannot write " + path + ": File too large"});
    defaults.setObject(PlistValue(3), "c");
  }
  for (const char* key : {"old", "a", "b", "c"}) EXPECT_TRUE(open().objectForKey(key)) << key;
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(DefaultsFileTest, DoesNotWriteWhatItCouldNotReadBack) {
  PlistValue huge;
  for (int i = 0; i < 40; ++i)
    huge = PlistValue(PlistArray{huge, huge});  // shared: a trillion values in 1 KiB
  {
    DefaultsFile defaults = open();
    defaults.setObject(PlistValue(1), "old");
    defaults.synchronize();
    defaults.setObject(huge, "huge");
  }
  EXPECT_EQ(log.lines(), std::vector<std::string>{
                             "User defaults stay in memory: user defaults are too large to be stored"});
  EXPECT_EQ(open().objectForKey("old"), PlistValue(1));
}

}  // namespace
}  // namespace tunevale::host
