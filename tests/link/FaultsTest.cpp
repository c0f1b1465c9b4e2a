#include <gtest/gtest.h>

#include "link/LinkWorld.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

/// A watch and a phone that talk while the wire between them breaks at random bytes, and once more without
/// faults at the end.
struct Storm {
  explicit Storm(std::uint64_t seed) : world(seed) {
    world.phone.ear.onMessage = [this](const PlistDictionary& message, const auto& reply) {
      switch (world.strand.random() % 20) {
        case 0:
          return;  // drops the reply
        case 1:
          unanswered.push_back(reply);
          return;  // keeps it, silent
        case 2:
          reply(message);
          break;  // and once more below
        case 3:
          throw std::runtime_error("mistake");
        default:
          break;
      }
      reply(message);
    };
  }

  void send() {
    const int n = sent++;
    const auto ended = [this, n](const std::string& how) {
      ends.resize(static_cast<std::size_t>(sent));
      ends.at(static_cast<std::size_t>(n)).push_back(how);
    };
    world.watch.session->sendMessage(
        {{"n", n}}, [ended](const PlistDictionary&) { ended("reply"); },
        [ended](const Error& error) { ended(std::to_string(static_cast<int>(error.code))); });
  }

  void run() {
    std::ofstream(folder.path("f"), std::ios::binary) << std::string(100'000, 'f');
    for (int round = 0; round < 12; ++round) {
      auto& dice = world.strand.dice();
      world.connect({.slice = dice() % 8 == 0 ? 1 + dice() % 7 : dice() % 5000,
                     .delay = std::chrono::microseconds(dice() % 50),
                     .cutAfter = 200 + dice() % (dice() % 3 == 0 ? 1000 : 150'000)});
      for (int i = 0; i < 8; ++i) {
        send();
        infos.push_back("info " + std::to_string(round * 8 + i));
        world.phone.session->transferUserInfo({{"n", round * 8 + i}});
        world.phone.session->updateApplicationContext({{"n", round * 8 + i}});
        world.strand.advance(std::chrono::milliseconds(dice() % 20));
      }
      world.phone.session->transferFile(folder.path("f"), {{"n", round}});
      world.strand.advance(500ms);
      if (dice() % 2 == 0) world.wires.back()->cut();
    }
    world.connectAndRun();
    for (int i = 0; i < 8; ++i) send();
    world.strand.advance(30s);
  }

  Lines heard(const std::string& kind) const {
    Lines lines;
    for (const std::string& line : world.watch.ear.heard) {
      if (line.starts_with(kind)) lines.push_back(line);
    }
    return lines;
  }

  LinkWorld world;
  test::TemporaryFolder folder;
  std::vector<SessionDelegate::MessageReply> unanswered;
  int sent = 0;
  std::vector<Lines> ends;
  Lines infos;
};

TEST(Faults, EveryMessageEndsOnceAndNothingQueuedIsLostOrTwice) {
  std::map<std::string, int> ways;
  for (std::uint64_t seed = 1; seed <= 16; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Storm storm(seed);
    storm.run();
    storm.ends.resize(static_cast<std::size_t>(storm.sent));
    for (const Lines& ends : storm.ends) {
      ASSERT_EQ(ends.size(), 1U);
      ++ways[ends.front()];
    }
    ASSERT_EQ(storm.heard("info"), storm.infos);
    ASSERT_EQ(storm.heard("file").size(), 12U);
    for (const std::string& contents : storm.world.watch.ear.files)
      ASSERT_EQ(contents, std::string(100'000, 'f'));
    ASSERT_EQ(storm.heard("context").back(), "context 95");
    ASSERT_TRUE(storm.heard("reset").empty());
    ASSERT_TRUE(std::filesystem::is_empty(storm.world.phone.spool.path()));
  }
  for (const char* way : {"reply", "7007", "7011", "7012", "7014"}) EXPECT_GT(ways[way], 0) << way;
}

TEST(Faults, NoRandomBytesAreTakenForFrames) {
  for (std::uint64_t seed = 1; seed <= 100; ++seed) {
    ManualStrand strand(seed);
    End watch(strand, Role::watch);
    watch.session->activate();
    Wire wire(strand);
    struct Deaf : StreamReceiver {
      void streamDidRead(ByteView) override {}
      void streamDidWrite() override {}
      void streamDidEnd(const std::string&) override {}
    } deaf;
    const auto peer = wire.takeFirst();
    peer->start(deaf);
    watch.session->adopt(wire.takeSecond(), false);
    Bytes noise(64 + seed * 8);
    for (std::byte& byte : noise) byte = static_cast<std::byte>(strand.random() % (seed % 2 == 0 ? 256 : 4));
    peer->write(noise);
    strand.advance(3s);
    EXPECT_EQ(watch.ear.heard, Lines{"activated"});
    EXPECT_FALSE(watch.session->state().connected);
  }
}

}  // namespace
}  // namespace tunevale::link
