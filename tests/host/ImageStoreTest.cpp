#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/ByteBudgetImageCache.h"
#include "host/ImageCodecs.h"
#include "host/ImageStore.h"
#include "host/PosixFiles.h"
#include "support/Pictures.h"
#include "support/World.h"

namespace tunevale::host {
namespace {

struct ImageStoreTest : testing::Test, test::World {
  ImageStoreTest() {
    layout_.images = {"dot", "spin0"};
    layout_.sequences = {"spin"};
  }
  /// One state of the screen with these pictures on it; their IDs.
  std::vector<std::string> show(const std::vector<ImagePtr>& pictures) {
    store_.beginScreen();
    std::vector<std::string> ids;
    for (const ImagePtr& picture : pictures) ids.push_back(store_.idOf({"", picture}));
    store_.endScreen();
    return ids;
  }
  /// The PNG file, once the queues have done their work; null when there is none.
  ImageStore::Png png(const std::string& id) {
    std::optional<ImageStore::Png> answer;
    store_.encoded(id, [&](const ImageStore::Png& file) { answer = file; });
    settle();
    EXPECT_TRUE(answer);
    return answer.value_or(nullptr);
  }
  /// The picture in a new file.
  ImagePtr written(const std::string& name, ByteView contents) {
    EXPECT_FALSE(files_.writeAtomically(contents, folder->path(name)));
    return codecs_.imageWithContentsOfFile(folder->path(name));
  }
  PosixFiles files_;
  ImageCodecs codecs_;
  InterfaceLayout layout_;
  ImageStore store_{layout_, codecs_, mainQueue, queues.make()};
};

TEST_F(ImageStoreTest, EncodesOnceForAllWhoAsk) {
  const auto picture = test::picture(7, 5, 1, false);
  const std::string id = show({picture})[0];
  std::vector<ImageStore::Png> answers;
  for (int i = 0; i < 3; ++i) {
    store_.encoded(id, [&](const ImageStore::Png& file) { answers.push_back(file); });
  }
  EXPECT_TRUE(answers.empty());
  settle();
  ASSERT_EQ(answers.size(), 3U);
  EXPECT_EQ(answers[0], answers[2]);
  EXPECT_EQ(codecs_.imageWithData(asBytes(*answers[0]))->pixels, picture->pixels);
  EXPECT_EQ(png(id), answers[0]);
  EXPECT_EQ(png("art-0000000000000000"), nullptr);
}

TEST_F(ImageStoreTest, AnswersForPicturesOfLateUpToABudget) {
  const auto large = [](std::uint32_t seed) { return test::picture(1024, 512, seed); };  // 2 MiB
  const std::string first = show({large(0)})[0];
  const std::string second = show({large(1)})[0];
  EXPECT_NE(png(first), nullptr);
  show({large(2), large(3), large(4)});
  EXPECT_NE(png(first), nullptr);
  bool answered = false;  // although it goes while it is encoded
  store_.encoded(second, [&](const ImageStore::Png& file) { answered = file != nullptr; });
  std::string latest = show({large(5)})[0];
  for (std::uint32_t seed = 6; seed < 10; ++seed) {
    const std::string shown = show({large(seed)})[0];
    EXPECT_NE(png(std::exchange(latest, shown)), nullptr) << "those of long ago go first";
  }
  EXPECT_EQ(png(first), nullptr);
  EXPECT_TRUE(answered);
  // Whatever is on the screen is there, however much.
  std::vector<ImagePtr> many;
  for (std::uint32_t seed = 10; seed < 20; ++seed) many.push_back(large(seed));
  for (const std::string& id : show(many)) EXPECT_NE(png(id), nullptr);
}

TEST_F(ImageStoreTest, AFileIsServedWhileItIsTheOneThatWasShown) {
  const Bytes own = test::pngPicture(7, 5, 1);
  const ImagePtr shown = written("a.png", own);
  EXPECT_TRUE(shown->pixels.empty() && shown->width == 7 && shown->height == 5);
  EXPECT_EQ(codecs_.imageWithContentsOfFile(shown->path), shown);  // is not read again
  EXPECT_EQ(*png(show({shown})[0]), asText(own));
  for (const Bytes& large :
       {test::pngPicture(600, 30), test::jpegPicture(30, 600), test::jpegPicture(9, 9)}) {
    const ImageStore::Png drawn = png(show({written("large.png", large)})[0]);
    EXPECT_EQ(*drawn, asText(*codecs_.pngRepresentation(*codecs_.imageWithData(large))));
  }

  const std::string ofOld = show({written("a.png", own)})[0];
  EXPECT_NE(ofOld, show({shown})[0]);
  const std::string ofNew = show({written("a.png", test::pngPicture(7, 5, 2))})[0];
  EXPECT_EQ(png(ofOld), nullptr);
  EXPECT_NE(png(ofNew), nullptr);
  const std::string damaged = show({written("b.png", ByteView(own).first(own.size() - 20))})[0];
  EXPECT_EQ(png(damaged), nullptr);
  const std::string gone = show({written("c.png", own)})[0];
  EXPECT_FALSE(files_.removeItemAtPath(folder->path("c.png")));
  EXPECT_EQ(png(gone), nullptr);
  EXPECT_EQ(codecs_.imageWithContentsOfFile(folder->path("c.png")), nullptr);
  for (const std::size_t offset : {0U, 12U, 18U}) {  // no PNG, another chunk first, 2,055 pixels wide
    Bytes odd = own;
    odd[offset] = std::byte{8};
    EXPECT_EQ(written("d.png", odd), nullptr) << offset;
  }
}

TEST_F(ImageStoreTest, WhatWasDrawnLongestAgoMakesRoom) {
  const std::string names = "abcdefgh";
  const auto write = [&](char name) { return written(std::string(1, name), test::pngPicture(2, 2)); };
  const auto makeRoom = [&](std::size_t files, std::size_t bytes) {
    files_.makeRoom(100, folder->path(), {files, bytes});
    std::string left;
    for (const char name : names) left += files_.fileExistsAtPath(folder->path({name})) ? name : '-';
    return left;
  };
  for (std::size_t i = 0; i < names.size(); ++i) {
    const ImagePtr picture = write(names[i]);
    const timespec times[2] = {{static_cast<time_t>(i), 0}, {static_cast<time_t>(9 - i), 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, picture->path.c_str(), times, 0), 0);
  }
  EXPECT_EQ(makeRoom(9, 10'000), names);
  png(show({codecs_.imageWithContentsOfFile(folder->path("a"))})[0]);
  EXPECT_EQ(makeRoom(8, 10'000), "a--defgh");  // one more than needed
  write('b');
  write('c');
  EXPECT_EQ(makeRoom(8, 10'000), names);  // an eighth is told to be free, so it does not look
  EXPECT_EQ(makeRoom(8, 10'000), "abc--fgh");
  const std::size_t size = test::pngPicture(2, 2).size();
  EXPECT_EQ(makeRoom(100, 5 * size), "abc-----");
}

TEST(ImageCache, EvictsWhatWasUsedLongestAgoAndCountsReplacedOversizedAndTinyPictures) {
  ByteBudgetImageCache cache(4 * 40'400);  // four pictures of 40,000 bytes and their bookkeeping
  const ImagePtr held = test::picture(100, 100, 1);
  cache.setObject(held, "a");
  cache.setObject(test::picture(10, 10, 2), "a");
  EXPECT_EQ(cache.objectForKey("a")->width, 10U);
  EXPECT_EQ(held.use_count(), 1);
  cache.setObject(test::picture(300, 300), "a");
  EXPECT_FALSE(cache.objectForKey("a"));
  EXPECT_EQ(cache.byteCount(), 0U);

  for (const char* key : {"a", "b", "c", "d"}) cache.setObject(test::picture(100, 100), key);
  EXPECT_TRUE(cache.objectForKey("a"));
  cache.setObject(held, "e");
  EXPECT_FALSE(cache.objectForKey("b"));
  for (const char* key : {"a", "c", "d"}) EXPECT_TRUE(cache.objectForKey(key)) << key;
  EXPECT_EQ(cache.objectForKey("e"), held);
  for (int i = 0; i < 10'000; ++i) cache.setObject(test::picture(1, 1), "station " + std::to_string(i));
  EXPECT_FALSE(cache.objectForKey("station 9000"));  // their bookkeeping alone is past the budget
  EXPECT_TRUE(cache.objectForKey("station 9999"));
}

}  // namespace
}  // namespace tunevale::host
