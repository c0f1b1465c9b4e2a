#include <atomic>
#include <future>

#include <gtest/gtest.h>

#include "link/Connector.h"
#include "link/LinkLoop.h"
#include "link/LinkWorld.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

/// One end on a loop of its own, over real sockets.
struct TcpEnd {
  explicit TcpEnd(Role role) : store(newEpoch(loop)), ear(loop) {
    const auto turn = [this](Block block) { loop.post(std::move(block)); };
    session.emplace(loop, store, SessionOptions{role, spool.path(), {}}, ear, turn, turn);
    session->activate();
  }
  ~TcpEnd() { loop.stop(); }

  template <class Condition>
  bool comes(Condition condition) {
    for (int i = 0; i < 1000; ++i) {
      std::promise<bool> answer;
      loop.post([&] { answer.set_value(condition()); });
      if (answer.get_future().get()) return true;
      std::this_thread::sleep_for(5ms);  // real sockets take real time
    }
    return false;
  }

  LinkLoop loop{"tcp-end"};
  test::TemporaryFolder spool;
  MemoryStore store;
  Ear ear;
  std::optional<Session> session;
};

struct TcpTest : testing::Test {
  TcpTest() : listener(watch.loop, {}) {
    listener.start(
        [this](std::unique_ptr<Stream> stream) { watch.session->adopt(std::move(stream), false); });
    watch.loop.start();
    phone.ear.onMessage = [](const PlistDictionary& message, const auto& reply) { reply(message); };
  }
  ~TcpTest() override {
    phone.loop.stop();
    watch.loop.stop();
  }
  void connect() {
    connector = std::make_unique<Connector>(
        phone.loop, *phone.session, tcpDial(phone.loop, {"127.0.0.1", listener.port()}, {}), Timing{});
    connector->start();
    phone.loop.start();
  }

  TcpEnd watch{Role::watch};
  TcpEnd phone{Role::phone};
  TcpListener listener;
  std::unique_ptr<Connector> connector;
};

TEST_F(TcpTest, MessagesAndFilesGoOverSockets) {
  connect();
  ASSERT_TRUE(watch.comes([&] { return watch.session->state().reachable; }));
  std::promise<std::string> reply;
  watch.session->sendMessage({{"n", 5}},
                             [&](const PlistDictionary& body) { reply.set_value(Ear::text(body, "n")); }, {});
  EXPECT_EQ(reply.get_future().get(), "5");
  const test::TemporaryFolder folder;
  const std::string contents(2'000'000, 'y');
  std::ofstream(folder.path("f"), std::ios::binary) << contents;
  phone.session->transferFile(folder.path("f"), {{"n", 1}});
  ASSERT_TRUE(watch.comes([&] { return watch.ear.files.size() == 1; }));
  EXPECT_TRUE(watch.ear.files.front() == contents);
}

TEST_F(TcpTest, TheConnectorComesBack) {
  connect();
  ASSERT_TRUE(watch.comes([&] { return watch.session->state().reachable; }));
  phone.session->transferUserInfo({{"n", 1}});
  ASSERT_TRUE(watch.comes([&] { return watch.ear.heard.back() == "info 1"; }));
  watch.loop.post([&] { watch.session->disconnect("for a test"); });
  ASSERT_TRUE(phone.comes([&] { return !phone.session->state().connected; }));
  phone.session->transferUserInfo({{"n", 2}});
  ASSERT_TRUE(watch.comes([&] { return watch.ear.heard.back() == "info 2"; }));
}

TEST_F(TcpTest, ABusyPortIsSaidInOneLine) {
  LinkLoop loop("busy");
  try {
    const TcpListener second(loop, {"127.0.0.1", listener.port()});
    FAIL() << "two listeners on one port";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(std::string(error.what()),
              "cannot listen on 127.0.0.1:" + std::to_string(listener.port()) + ": Address already in use");
  }
  EXPECT_THROW(TcpListener(loop, {"no address", 0}), std::runtime_error);
}

TEST(Connector, WaitsLongerWithEveryFailureAndForgetsThemInHealth) {
  LinkWorld world;
  const Timing timing;
  std::vector<Time> dials;
  bool works = false;
  struct Attempt : Dialing {};
  Connector connector(
      world.strand, *world.phone.session,
      [&](Dialed dialed) {
        dials.push_back(world.strand.now());
        world.strand.post([&, dialed] {
          if (!works) return dialed(nullptr);
          world.wires.push_back(std::make_unique<Wire>(world.strand));
          world.watch.session->adopt(world.wires.back()->takeSecond(), false);
          dialed(world.wires.back()->takeFirst());
        });
        return std::make_unique<Attempt>();
      },
      timing);
  connector.start();
  world.strand.advance(60s);
  EXPECT_GE(dials.size(), 30U);
  EXPECT_LE(dials.size(), 200U);
  Duration longest{};
  for (std::size_t i = 1; i < dials.size(); ++i) longest = std::max(longest, dials[i] - dials[i - 1]);
  EXPECT_GT(longest, 1s);
  EXPECT_LE(longest, timing.lastReconnect);
  EXPECT_LE(dials.at(1) - dials.at(0), timing.firstReconnect);
  works = true;
  world.strand.advance(15s);
  ASSERT_TRUE(world.watch.session->state().reachable);
  const std::size_t before = dials.size();
  world.wires.back()->cut();
  world.strand.advance(timing.firstReconnect);
  EXPECT_EQ(dials.size(), before + 1) << "a healthy connection forgets the failures before it";
  EXPECT_EQ(timingTo({"127.0.0.1", 1}, timing).lastReconnect, 2s);
  EXPECT_EQ(timingTo({"192.0.2.1", 1}, timing).lastReconnect, 30s);
  connector.stop();
  world.strand.advance(10s);
  EXPECT_FALSE(world.watch.session->state().connected);
  EXPECT_EQ(dials.size(), before + 1);
}

}  // namespace
}  // namespace tunevale::link
