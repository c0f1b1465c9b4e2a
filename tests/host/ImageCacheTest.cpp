#include <gtest/gtest.h>

#include "host/ByteBudgetImageCache.h"
#include "host/ImageLimits.h"
#include "support/Pictures.h"

namespace tunevale::host {
namespace {

using test::picture;

constexpr std::size_t kBudget = 4 * 40'400;  // four pictures of 40,000 bytes and their bookkeeping

TEST(ImageCache, EvictsWhatWasUsedLongestAgo) {
  ByteBudgetImageCache cache(kBudget);
  for (const char* key : {"a", "b", "c", "d"}) cache.setObject(picture(100, 100), key);
  EXPECT_TRUE(cache.objectForKey("a"));
  cache.setObject(picture(100, 100, 5), "e");
  EXPECT_FALSE(cache.objectForKey("b"));
  for (const char* key : {"a", "c", "d", "e"}) EXPECT_TRUE(cache.objectForKey(key)) << key;
  EXPECT_EQ(cache.objectForKey("e")->digest, picture(100, 100, 5)->digest);
}

TEST(ImageCache, CountsReplacedOversizedAndTinyPictures) {
  ByteBudgetImageCache cache(kBudget);
  const ImagePtr held = picture(100, 100, 1);
  cache.setObject(held, "a");
  cache.setObject(picture(10, 10, 2), "a");
  EXPECT_EQ(cache.objectForKey("a")->width, 10U);
  EXPECT_EQ(held.use_count(), 1);
  cache.setObject(picture(300, 300), "a");
  EXPECT_FALSE(cache.objectForKey("a"));
  EXPECT_EQ(cache.byteCount(), 0U);
  for (int i = 0; i < 10'000; ++i) cache.setObject(picture(1, 1), "station " + std::to_string(i));
  EXPECT_FALSE(cache.objectForKey("station 9000"));  // their bookkeeping alone is past the budget
  EXPECT_TRUE(cache.objectForKey("station 9999"));

  ByteBudgetImageCache stations(kImageCacheBytes);  // pictures in files: every station keeps its own
  const auto file = std::make_shared<const Image>(Image{9, 9, {}, 1, std::string(200, 'p')});
  for (int i = 0; i < 2'500; ++i) stations.setObject(file, "station " + std::to_string(i));
  EXPECT_TRUE(stations.objectForKey("station 0"));
}

}  // namespace
}  // namespace tunevale::host
