#include <gtest/gtest.h>

#include "host/ImageCodecs.h"
#include "host/ImageStore.h"
#include "support/ManualMainQueue.h"
#include "support/Pictures.h"
#include "support/TestQueues.h"

namespace tunevale::host {
namespace {

class ImageStoreTest : public testing::Test {
 protected:
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
  void settle() {
    while (queues_.settle() || mainQueue_.drain() > 0) {
    }
  }

  test::ManualMainQueue mainQueue_;
  test::TestQueues queues_;
  ImageCodecs codecs_;
  InterfaceLayout layout_;
  ImageStore store_{layout_, codecs_, mainQueue_, queues_.make()};
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
  show({large(1)});
  EXPECT_NE(png(first), nullptr);
  show({large(2), large(3), large(4)});
  EXPECT_NE(png(first), nullptr);
  show({large(5)});
  show({large(6)});
  EXPECT_EQ(png(first), nullptr);
  // Whatever is on the screen is there, however much.
  std::vector<ImagePtr> many;
  for (std::uint32_t seed = 10; seed < 20; ++seed) many.push_back(large(seed));
  for (const std::string& id : show(many)) EXPECT_NE(png(id), nullptr);
}

TEST_F(ImageStoreTest, AnswersEvenIfThePictureGoesWhileItIsEncoded) {
  const std::string id = show({test::picture(1024, 512, 0)})[0];
  bool answered = false;
  store_.encoded(id, [&](const ImageStore::Png& file) { answered = file != nullptr; });
  std::vector<ImagePtr> many;
  for (std::uint32_t seed = 1; seed < 9; ++seed) many.push_back(test::picture(1024, 512, seed));
  show(many);
  show({});
  settle();
  EXPECT_TRUE(answered);
}

}  // namespace
}  // namespace tunevale::host
