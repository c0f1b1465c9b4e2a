#include <thread>

#include <gtest/gtest.h>

#include "host/ByteBudgetImageCache.h"
#include "support/Pictures.h"

namespace tunevale::host {
namespace {

using test::picture;

// Four pictures of 40,000 bytes and their bookkeeping.
constexpr std::size_t kBudget = 4 * 40'400;

std::string kept(ByteBudgetImageCache& cache, const std::string& keys) {
  std::string found;
  for (const char key : keys) {
    if (cache.objectForKey(std::string(1, key))) found += key;
  }
  return found;
}

TEST(ImageCache, EvictsWhatWasUsedLongestAgo) {
  ByteBudgetImageCache cache(kBudget);
  for (const char* key : {"a", "b", "c", "d"}) cache.setObject(picture(100, 100), key);
  EXPECT_EQ(kept(cache, "dcba"), "dcba");  // now "d" is the oldest in use
  cache.setObject(picture(100, 100, 5), "e");
  EXPECT_EQ(kept(cache, "abcde"), "abce");
  EXPECT_LE(cache.byteCount(), kBudget);
  EXPECT_EQ(cache.objectForKey("e")->digest, picture(100, 100, 5)->digest);
}

TEST(ImageCache, ReplacesAndForgets) {
  ByteBudgetImageCache cache(kBudget);
  const ImagePtr held = picture(100, 100, 1);
  cache.setObject(held, "a");
  cache.setObject(picture(10, 10, 2), "a");
  EXPECT_EQ(cache.objectForKey("a")->width, 10U);
  EXPECT_EQ(held.use_count(), 1);
  cache.setObject(nullptr, "a");
  EXPECT_EQ(cache.objectForKey("a"), nullptr);
  EXPECT_EQ(cache.byteCount(), 0U);
}

TEST(ImageCache, DoesNotKeepWhatAloneIsPastTheBudget) {
  ByteBudgetImageCache cache(kBudget);
  cache.setObject(picture(10, 10), "a");
  cache.setObject(picture(10, 10), "big");
  cache.setObject(picture(300, 300), "big");
  EXPECT_EQ(cache.objectForKey("big"), nullptr);
  EXPECT_LE(cache.byteCount(), kBudget);
}

// Pictures of a pixel must not make the bookkeeping grow without end.
TEST(ImageCache, CountsTinyPicturesToo) {
  ByteBudgetImageCache cache(kBudget);
  for (int i = 0; i < 10'000; ++i) cache.setObject(picture(1, 1), "station " + std::to_string(i));
  int found = 0;
  for (int i = 0; i < 10'000; ++i) found += cache.objectForKey("station " + std::to_string(i)) ? 1 : 0;
  EXPECT_GT(found, 100);
  EXPECT_LT(found, 700);
}

TEST(ImageCache, ServesManyThreads) {
  ByteBudgetImageCache cache(kBudget);
  std::vector<std::thread> threads;
  for (std::uint32_t t = 0; t < 3; ++t) {
    threads.emplace_back([&cache, t] {
      for (std::uint32_t i = 0; i < 300; ++i) {
        cache.setObject(picture(60, 60, t), std::to_string(i % 20));
        const ImagePtr image = cache.objectForKey(std::to_string((i * 7) % 20));
        EXPECT_TRUE(!image || image->width == 60);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_LE(cache.byteCount(), kBudget);
}

}  // namespace
}  // namespace tunevale::host
