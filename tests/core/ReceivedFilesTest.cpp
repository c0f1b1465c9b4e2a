#include <filesystem>

#include "core/CoreTest.h"
#include "support/Pictures.h"
#include "support/ScreenHarness.h"
#include "util/CachedImages.h"

namespace tunevale::test {
namespace {

struct ReceivedFiles : CoreTest {
  void deliver(ByteView contents, const PlistDictionary& metadata) {
    const std::string path = world.folder->path("arrived");
    EXPECT_FALSE(platform.fileManager.writeAtomically(contents, path));
    phone.deliverFile(path, metadata);
  }
  bool exists(const std::string& path) { return platform.fileManager.fileExistsAtPath(path); }
  std::string cached(const std::string& name) const { return directory() + "/" + name; }
  Bytes contents(const std::string& name) {
    return platform.fileManager.contentsAtPath(cached(name)).value_or(Bytes());
  }
  /// The lines but those that every file leaves.
  Trace lines() {
    Trace kept = world.log.lines();
    std::erase_if(kept, [](const std::string& line) { return line.starts_with("Receiving File:"); });
    world.log.clear();
    return kept;
  }
};

const PlistDictionary kTopHits{{"radio_image", "1"}, {"radio_title", "Top Hits"}};
const PlistDictionary kTop{{"playlist_image", "1"}, {"image_name", "top"}, {"more", 2}};
constexpr const char* kRadioPosted = "post tunevaleWatch.radio.fetchedImage";
constexpr const char* kPlaylistPosted = "post tunevaleWatch.playlist.fetchedImage";
constexpr const char* kImagePosted = "post tunevaleWatch.player.nowplayingchange.image";

TEST_F(ReceivedFiles, TheFirstImageOfANameStaysUntilAPurge) {
  deliver(pngPicture(4, 4, 1), kTopHits);
  deliver(pngPicture(4, 4, 1), kTop);
  EXPECT_EQ(settledTrace(), (Trace{kPlaylistPosted, kRadioPosted, kRadioPosted}));
  const Bytes first = contents("Top_Hits_image.png");
  deliver(pngPicture(4, 4, 2), kTopHits);
  deliver(asBytes("not even an image"), kTop);
  EXPECT_EQ(settle(), PlistArray{kTop});
  EXPECT_EQ(takeTrace(), Trace{kPlaylistPosted});
  EXPECT_EQ(contents("Top_Hits_image.png"), first);
  EXPECT_EQ(radio().getTotalCacheCount(), 2);
  EXPECT_EQ(lines(), Trace{});

  for (int i = 0; i < 2; ++i) delegate.purgeCache();
  EXPECT_EQ(settledTrace(), Trace(2, "send watch_purged_cache"));
  EXPECT_EQ(radio().getTotalCacheCount(), 0);
  const Trace failed = lines();
  ASSERT_EQ(failed.size(), 1U);
  EXPECT_TRUE(failed[0].starts_with("Unable to purge image cache : "));
  deliver(pngPicture(2, 2, 2), kTop);
  EXPECT_EQ(contents("top.png"), pngPicture(2, 2, 2));
}

TEST_F(ReceivedFiles, UnmarkedFilesAreTheNowPlayingArtworkAndMarkedOnesNeedAName) {
  const std::pair<PlistDictionary, bool> cases[] = {
      {{}, true},
      {{{"radio_title", "t"}, {"image_name", "n"}}, true},
      {{{"radio_image", ""}, {"playlist_image", 1}}, true},
      {{{"radio_image", "1"}, {"radio_title", ""}, {"playlist_image", "1"}, {"image_name", "n"}}, false},
      {{{"radio_image", "1"}, {"radio_title", 5}}, false},
      {{{"playlist_image", "1"}}, false},
      {{{"playlist_image", "1"}, {"image_name", PlistArray{"n"}}, {"radio_title", "t"}}, false}};
  for (const auto& [metadata, unmarked] : cases) {
    for (const bool playing : {false, true}) {
      delegate.setNowPlayingSong(playing ? std::optional(kTop) : std::nullopt);
      delegate.setCurrentMediaImage(nullptr);
      deliver(pngPicture(2, 2, 6), metadata);
      EXPECT_EQ(lines(), unmarked && !playing ? Trace{"This should not happen"} : Trace{});
      EXPECT_EQ(settle(), unmarked && playing ? PlistArray{PlistValue()} : PlistArray{});
      EXPECT_EQ(takeTrace(), unmarked && playing ? Trace{kImagePosted} : Trace{});
      const ImagePtr image = delegate.currentMediaImage();
      ASSERT_EQ(image != nullptr, unmarked && playing);
      EXPECT_TRUE(!image || image->pixels == picture(2, 2, 6)->pixels);
    }
  }
  EXPECT_FALSE(exists(directory()));
  delegate.setCurrentMediaImage(picture(1, 1));
  deliver(asBytes("damaged"), {});
  EXPECT_EQ(settledTrace(), Trace{kImagePosted});
  EXPECT_NE(delegate.currentMediaImage(), nullptr);
  EXPECT_EQ(lines(), Trace{});
}

TEST_F(ReceivedFiles, WhatIsNotThereOrCannotBeWrittenIsLoggedAndTheLatterAnnounced) {
  delegate.setNowPlayingSong(kTop);
  phone.deliverFile(world.folder->path("nothing\nhere 9%é~+.png"), kTopHits);
  EXPECT_TRUE(settle().empty());
  const auto all = world.log.lines();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0], "Receiving File:file://" + world.folder->path("nothing%0Ahere%209%25%C3%A9~+.png"));
  EXPECT_TRUE(all[1].starts_with(" image not available at Error: ")) << all[1];
  EXPECT_EQ(all[1].find('\n'), std::string::npos);
  world.log.clear();

  deliver(asBytes("no image"), kTop);
  EXPECT_EQ(lines(), Trace{"Error writing File: (null)"});
  deliver(pngPicture(2, 2), {{"playlist_image", "1"}, {"image_name", "../out"}});
  deliver(pngPicture(2, 2), {{"radio_image", "1"}, {"radio_title", "../out"}});
  EXPECT_FALSE(exists(directory() + "/../out.png"));
  ASSERT_FALSE(platform.fileManager.removeItemAtPath(directory()));
  ASSERT_FALSE(platform.fileManager.writeAtomically(asBytes("in the way"), directory()));
  deliver(pngPicture(2, 2), kTop);
  const Trace failed = lines();
  ASSERT_EQ(failed.size(), 3U);
  for (const std::string& line : failed) EXPECT_TRUE(line.starts_with("Error writing File: ")) << line;
  EXPECT_EQ(settledTrace(), Trace(3, kPlaylistPosted));
  EXPECT_EQ(radio().getTotalCacheCount(), 0);
}

TEST_F(ReceivedFiles, TheCacheKeepsFilesWithinItsLimitAndPicturesAsTheyAreShown) {
  ASSERT_FALSE(platform.fileManager.createDirectoryAtPath(directory()));
  ASSERT_FALSE(platform.fileManager.writeAtomically({}, cached("Top_Hits_image.png")));
  std::filesystem::resize_file(cached("Top_Hits_image.png"), kArtworkLimits.bytes);
  deliver(pngPicture(2, 2), kTop);
  EXPECT_FALSE(exists(cached("Top_Hits_image.png")));
  deliver(pngPicture(2048, 2, 1), kTopHits);  // can come again
  const ImagePtr kept = radio().getCachedImageForRadioName("Top_Hits_image.png");
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(kept->path, cached("Top_Hits_image.png"));
  EXPECT_TRUE(kept->pixels.empty() && kept->width == 512);
  EXPECT_EQ(kept, WatchUtil::getImageForKey(platform, "Top_Hits_image.png"));
  EXPECT_EQ(WatchUtil::getImageForKey(platform, "none.png"), nullptr);
}

TEST_F(ReceivedFiles, ADownloadIsAskedForAndItsAnswerShown) {
  RecordingHost host;
  auto screen = ProbeScreen::shownBy(host, platform);
  const PlistDictionary song{{"id", "7"}};
  delegate.downloadSong({}, *screen);
  phone.setSupported(false);
  delegate.downloadSong(song, *screen);
  phone.setSupported(true);
  EXPECT_TRUE(phone.sentMessages().empty());
  const PlistDictionary words{{"downloadSong", "Downloading"}}, odd{{"downloadSong", 4}}, other{{"other", 1}};
  for (const PlistDictionary& reply : {words, PlistDictionary(), odd, other}) {
    delegate.downloadSong(song, *screen);
    phone.reply(phone.lastMessage(), reply);
  }
  delegate.downloadSong(song, *screen);
  phone.fail(phone.lastMessage(), {7007, "not there"});
  phone.finishUserInfoTransfer({}, SessionError{7014, "cut"});
  EXPECT_EQ(phone.sentMessages().front(), (PlistDictionary{{"request", "downloadSong"}, {"data", song}}));
  const std::weak_ptr<ProbeScreen> left = std::exchange(screen, nullptr);
  EXPECT_FALSE(left.expired());
  settle();
  EXPECT_TRUE(left.expired());
  EXPECT_EQ(host.take(), (Trace{alert("Downloading"), alert(""), alert("")}));
  EXPECT_EQ(lines(), (Trace{"Error:cut", "Error handling message: not there"}));
}

}  // namespace
}  // namespace tunevale::test
