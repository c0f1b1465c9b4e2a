#include <gtest/gtest.h>

#include "phone/Player.h"

namespace tunevale::phone {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

PlistDictionary song(const char* id, PlistValue duration) {
  return {{"id", id}, {"more_info", PlistDictionary{{"duration", std::move(duration)}}}};
}

struct PlayerTest : ::testing::Test {
  std::string playing() const {
    return player.song() == nullptr ? "" : std::string(*player.song()->find("id")->string());
  }
  void wait(milliseconds time) {
    now += time;
    player.advance();
  }

  Player::Time now{};
  Player player{[this] { return now; }};
  const PlistArray three{song("a", "10"), song("b", 20), song("c", 30.5)};
};

TEST_F(PlayerTest, MovesThroughTheQueueByTheClockAndEmptiesItAtTheEnd) {
  player.load(three, 0);
  wait(seconds(60));
  EXPECT_EQ(player.position(), seconds(0)) << "a queue that was only loaded stands still";
  EXPECT_FALSE(player.nextDeadline());
  player.play();
  EXPECT_EQ(*player.nextDeadline(), now + seconds(10));
  wait(milliseconds(9'999));
  EXPECT_EQ(playing(), "a");
  wait(milliseconds(2));
  EXPECT_EQ(playing(), "b");
  EXPECT_EQ(player.position(), milliseconds(1)) << "the time past the end belongs to the next song";
  wait(seconds(40));
  EXPECT_EQ(playing(), "c");
  EXPECT_EQ(player.position(), seconds(20) + milliseconds(1));
  wait(seconds(3600));
  EXPECT_EQ(player.song(), nullptr);
  EXPECT_FALSE(player.isPlaying());
  EXPECT_FALSE(player.nextDeadline());
  EXPECT_EQ(player.duration(), seconds(0));
  player.load(three, 2, Player::AtEnd::startOver);  // as a station does
  player.next();
  wait(milliseconds(60'500) * 100 + seconds(11));
  EXPECT_EQ(playing(), "b");
  EXPECT_EQ(player.position(), seconds(1));
}

TEST_F(PlayerTest, APauseKeepsThePlaceAndNextAndPreviousPlayAndStopAtTheEnds) {
  player.load(three, 1);
  player.play();
  wait(seconds(7));
  player.play();  // it plays already, and goes on where it is
  for (int i = 0; i < 2; ++i) player.pause();
  wait(seconds(100));
  EXPECT_EQ(player.position(), seconds(7));
  for (int i = 0; i < 2; ++i) player.play();
  EXPECT_EQ(*player.nextDeadline(), now + seconds(13));
  player.pause();
  player.previous();
  EXPECT_EQ(playing(), "a");
  EXPECT_TRUE(player.isPlaying());
  wait(seconds(5));
  player.previous();
  EXPECT_EQ(playing(), "a");
  EXPECT_EQ(player.position(), seconds(0));
  player.next();
  player.next();
  EXPECT_EQ(playing(), "c");
  player.next();
  EXPECT_EQ(playing(), "");
  for (const auto operation : {&Player::next, &Player::previous, &Player::play, &Player::pause}) {
    (player.*operation)();
    EXPECT_FALSE(player.isPlaying());
  }
}

TEST_F(PlayerTest, AnAbsurdDurationIsThreeMinutes) {
  for (const PlistValue& absurd : {PlistValue("0"), PlistValue("-5"), PlistValue("soon"), PlistValue(1e300),
                                   PlistValue(0.0 / 0.0), PlistValue(), PlistValue("99999999999")}) {
    EXPECT_EQ(durationOf(song("x", absurd)), seconds(180));
  }
  EXPECT_EQ(durationOf({}), seconds(180));
  EXPECT_EQ(durationOf(song("x", 30.5)), milliseconds(30'500));
}

}  // namespace
}  // namespace tunevale::phone
