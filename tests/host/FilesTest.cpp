#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "TestDisk.h"
#include "host/AtomicFile.h"
#include "host/HomeFolder.h"
#include "host/PosixFiles.h"
#include "support/TemporaryFolder.h"

namespace tunevale::host {
namespace {

namespace fs = std::filesystem;

struct PosixFilesTest : testing::Test {
  std::string at(const std::string& name) const { return folder.path(name); }
  std::string text(const std::string& name) {
    const auto contents = files.contentsAtPath(at(name));
    return contents ? std::string(asText(*contents)) : "(nothing)";
  }
  test::TemporaryFolder folder;
  PosixFiles files;
};

TEST_F(PosixFilesTest, SaysWhyNotAndRefusesPathsNotBuiltOnPurpose) {
  EXPECT_EQ(files.checkResourceIsReachable(at("none"))->description,
            "cannot read " + at("none") + ": No such file or directory");
  EXPECT_TRUE(files.createDirectoryAtPath(at("no/parent")));
  EXPECT_FALSE(files.createDirectoryAtPath(at("folder/")));
  EXPECT_TRUE(files.createDirectoryAtPath(at("folder")));
  EXPECT_TRUE(files.checkResourceIsReachable(at("folder")));
  EXPECT_TRUE(files.writeAtomically(asBytes("x"), at("folder")));  // a folder is not replaced
  EXPECT_TRUE(files.writeAtomically(asBytes("x"), at("none/x.png")));
  EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folder.path()), {}), 1);

  EXPECT_FALSE(files.writeAtomically(asBytes("x"), at("x")));
  using namespace std::string_literals;
  for (const std::string& path :
       {"relative"s, ""s, at("folder/../x"), at("./x"), at("x\0.png"s), at("folder/..")}) {
    EXPECT_FALSE(files.fileExistsAtPath(path)) << path;
    EXPECT_FALSE(files.contentsAtPath(path)) << path;
    EXPECT_TRUE(files.checkResourceIsReachable(path)) << path;
    EXPECT_TRUE(files.writeAtomically(asBytes("y"), path)) << path;
    EXPECT_TRUE(files.createDirectoryAtPath(path)) << path;
    EXPECT_TRUE(files.removeItemAtPath(path)) << path;
  }
  EXPECT_EQ(text("x"), "x");
}

TEST_F(PosixFilesTest, NeverGoesThroughALinkAtTheEnd) {
  fs::create_directories(at("outside"));
  fs::create_directories(at("cache/a/b"));
  ASSERT_FALSE(files.writeAtomically(asBytes("mine"), at("outside/file")));
  fs::create_symlink(at("outside/file"), at("link.png"));
  fs::create_directory_symlink(at("outside"), at("cache/a/link"));
  fs::create_directory_symlink(at("outside"), at("link"));
  EXPECT_TRUE(files.fileExistsAtPath(at("link.png")));
  EXPECT_EQ(text("link.png"), "(nothing)");
  EXPECT_TRUE(files.checkResourceIsReachable(at("link.png")));
  EXPECT_FALSE(files.writeAtomically(asBytes("new"), at("link.png")));
  EXPECT_EQ(text("link.png"), "new");
  EXPECT_FALSE(files.removeItemAtPath(at("cache/")));
  EXPECT_FALSE(files.removeItemAtPath(at("link/")));
  EXPECT_FALSE(files.fileExistsAtPath(at("cache")));
  EXPECT_FALSE(files.fileExistsAtPath(at("link")));
  EXPECT_EQ(text("outside/file"), "mine");
}

TEST_F(PosixFilesTest, ReadsNoPipeNoFolderAndNothingHuge) {
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
  EXPECT_EQ(text("pipe"), "(nothing)");  // and does not wait for a writer
  EXPECT_EQ(text(""), "(nothing)");
  std::ofstream(at("huge")) << "x";
  fs::resize_file(at("huge"), 16 << 20);
  EXPECT_EQ(files.contentsAtPath(at("huge"))->size(), std::size_t{16} << 20);
  fs::resize_file(at("huge"), (16 << 20) + 1);
  EXPECT_EQ(text("huge"), "(nothing)");
}

TEST_F(PosixFilesTest, SyncsWhatItWritesBeforeItTakesThePlaceOfTheOld) {
  test::TestDisk disk;
  EXPECT_FALSE(files.writeAtomically(asBytes("old"), at("x")));
  EXPECT_EQ(disk.calls, "file rename folder ");
  disk.refusal = EIO;
  EXPECT_EQ(files.writeAtomically(asBytes("new"), at("x"))->description,
            "cannot write " + at("x") + ": Input/output error");
  EXPECT_EQ(disk.calls, "file rename folder file ");
  EXPECT_EQ(text("x"), "old");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1) << "nothing is left beside it";
}

TEST_F(PosixFilesTest, SweepsWhatUnfinishedWritesLeft) {
  fs::create_directories(at("Documents/ImageCache"));
  const std::string left = at("Documents/ImageCache/.tunevale-unfinished-99-0");
  std::ofstream(left) << "half";
  const std::string temporary = temporaryPath(at("Documents"));
  EXPECT_NE(temporaryPath(at("Documents")), temporary);
  std::ofstream(temporary) << "while it runs";
  std::ofstream(at("Documents/.keep")) << "x";
  fs::create_directory_symlink(at("Documents"), at("loop"));
  removeUnfinishedWrites(folder.path());
  EXPECT_FALSE(files.fileExistsAtPath(left) || files.fileExistsAtPath(temporary));
  EXPECT_TRUE(files.fileExistsAtPath(at("Documents/.keep")));
  removeUnfinishedWrites(at("nowhere"));
}

TEST(HomeFolder, MakesItsFoldersForTheOwnerAlone) {
  const test::TemporaryFolder folder;
  const HomeFolder home(folder.path("a/b/"));
  EXPECT_EQ(home.path(), folder.path("a/b"));
  for (const char* made : {"a", "a/b", "a/b/Documents", "a/b/Library/Preferences"}) {
    EXPECT_EQ(fs::status(folder.path(made)).permissions(), fs::perms::owner_all) << made;
  }
}

TEST(HomeFolder, DefaultsToTheUsersDataFolder) {
  ::setenv("HOME", "/home/asha", 1);
  ::setenv("XDG_DATA_HOME", "relative", 1);
  EXPECT_EQ(HomeFolder::defaultPath(), "/home/asha/.local/share/tunevale-watch");
  ::setenv("XDG_DATA_HOME", "/data", 1);
  EXPECT_EQ(HomeFolder::defaultPath(), "/data/tunevale-watch");
}

}  // namespace
}  // namespace tunevale::host
