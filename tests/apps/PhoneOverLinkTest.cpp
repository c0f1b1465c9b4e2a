#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "host/LinkPhoneSession.h"
#include "host/ThreadQueue.h"
#include "http/HttpServer.h"
#include "http/TestClient.h"
#include "phone/Console.h"
#include "phone/Phone.h"
#include "platform/PhoneSessionDelegate.h"
#include "support/TemporaryFolder.h"

namespace tunevale {
namespace {

using namespace std::chrono_literals;

/// Lines that several threads write and the test waits for.
class Notes {
 public:
  void add(const std::string& line) {
    const std::lock_guard lock(mutex_);
    lines_.push_back(line);
    changed_.notify_all();
  }
  /// How many lines begin so, once there are at least `count`; what there is after a long while otherwise.
  std::size_t await(const std::string& start, std::size_t count = 1) {
    std::unique_lock lock(mutex_);
    const auto found = [&] {
      return static_cast<std::size_t>(std::count_if(
          lines_.begin(), lines_.end(), [&](const auto& line) { return line.starts_with(start); }));
    };
    changed_.wait_for(lock, 50s, [&] { return found() >= count; });
    return found();
  }
  std::string first() const {
    const std::lock_guard lock(mutex_);
    return lines_.empty() ? "" : lines_.front();
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
};

/// A main queue on a thread.
class ThreadMainQueue : public MainQueue {
 public:
  void async(Block block) override { queue_.async(std::move(block)); }
  void sync(const Block& block) { queue_.sync(block); }
  void after(std::chrono::nanoseconds, Block) override { FAIL() << "the session sets no timers here"; }

 private:
  host::ThreadQueue queue_{"main-for-test"};
};

/// A watch's side that notes what comes.
class Watch : public PhoneSessionDelegate {
 public:
  explicit Watch(Notes& notes) : notes_(notes) {}
  void sessionActivationDidCompleteWithState(PhoneSession&, ActivationState state,
                                             const std::optional<SessionError>&) override {
    notes_.add("activation " + std::to_string(static_cast<int>(state)));
  }
  void sessionDidReceiveMessage(PhoneSession&, const PlistDictionary& message,
                                const MessageReply& reply) override {
    notes_.add("message " + std::string(message.find("request")->string().value_or("")));
    reply({{"request", "success"}});
  }
  void sessionDidReceiveMessageData(PhoneSession&, ByteView data, const DataReply&) override {
    const auto value = unarchiveObjectWithData(data);
    for (const auto& entry : *value->dictionary()) notes_.add("data " + std::string(entry.key.view()));
  }
  void sessionDidReceiveApplicationContext(PhoneSession&, const PlistDictionary& context) override {
    for (const auto& entry : context) notes_.add("context " + std::string(entry.key.view()));
  }
  void sessionDidReceiveFile(PhoneSession&, const ReceivedFile& file) override {
    notes_.add(std::filesystem::file_size(file.path) > 1000 ? "file" : "small file");
  }

 private:
  Notes& notes_;
};

class PhoneNotes : public phone::PhoneObserver {
 public:
  void phoneDidEmit(const std::string& event) override { notes.add(event); }
  Notes notes;
};

struct PhoneOverLink : testing::Test {
  PhoneOverLink() {
    session.emplace(mainQueue, std::make_unique<host::ThreadQueue>("delivery"),
                    host::LinkPhoneSession::Options{.listenOn = {}, .spoolFolder = spool.path()});
    session->setDelegate(&watch);
    session->setChangeHandler([this, last = std::string("unreachable")]() mutable {
      const auto state = session->state();
      const std::string now = state.locked ? "locked" : state.reachable ? "reachable" : "unreachable";
      if (std::exchange(last, now) != now) changes.add(now);
    });
    phone.emplace(phone::PhoneOptions{.watch = {"127.0.0.1", session->port()}});
    phone->addObserver(observer);
  }
  ~PhoneOverLink() override {
    phone.reset();
    endSession();
  }
  void endSession() {
    mainQueue.sync([this] { session.reset(); });
  }
  void start() {
    session->activateSession();
    phone->start();
    ASSERT_EQ(changes.await("reachable"), 1U);
  }
  void command(const std::string& line) { phone->perform(line, phone::Origin::script); }
  /// The reply to a request, as its entry under a key, or the number of its error.
  std::string ask(const PlistDictionary& request, const std::string& key) {
    const auto answered = std::make_shared<Notes>();
    session->sendMessage(
        request,
        [=](const PlistDictionary& reply) {
          const PlistValue* value = reply.find(key);
          answered->add(value == nullptr ? "nothing" : std::string(value->string().value_or("not a text")));
        },
        [=](const SessionError& error) { answered->add(std::to_string(error.code)); });
    answered->await("");
    return answered->first();
  }

  Notes heard;
  Notes changes;
  Watch watch{heard};
  test::TemporaryFolder spool;
  ThreadMainQueue mainQueue;
  std::shared_ptr<PhoneNotes> observer = std::make_shared<PhoneNotes>();
  std::optional<host::LinkPhoneSession> session;
  std::optional<phone::Phone> phone;
};

TEST_F(PhoneOverLink, GivesAFreshWatchAllThatItHas) {
  start();
  EXPECT_EQ(heard.await("data weekly_top_15"), 1U);
  EXPECT_EQ(heard.first(), "activation 2");
  // No acknowledgement of the chart is sent here: that its message data were taken is enough.
  EXPECT_GE(heard.await("context weekly_top_15"), 1U);
  EXPECT_EQ(heard.await("context cachedSongList"), 1U);
  EXPECT_EQ(heard.await("data radio_stations"), 1U);
  EXPECT_EQ(heard.await("data appPaused"), 1U);
  EXPECT_EQ(heard.await("message volume"), 1U);
  EXPECT_EQ(heard.await("file", 27), 27U);  // two of the chart, 24 stations, what plays
  EXPECT_EQ(session->pendingRequests(), 0U);
}

TEST_F(PhoneOverLink, TheSwitchesDoWhatTheySay) {
  EXPECT_EQ(ask({{"request", "playMedia"}}, "request"), "7004");
  start();
  EXPECT_EQ(ask({{"request", "playMedia"}}, "request"), "success");
  EXPECT_EQ(heard.await("data appPlaying"), 1U);
  command(R"({"do":"set","refuse":"Not now."})");
  EXPECT_EQ(ask({{"request", "playMedia"}}, "error"), "Not now.");
  command(R"({"do":"set","refuse":"","failing":true})");
  EXPECT_EQ(ask({{"request", "playMedia"}}, "error"), "7011");
  command(R"({"do":"set","failing":false,"locked":true})");
  EXPECT_EQ(changes.await("locked"), 1U);
  EXPECT_EQ(ask({{"request", "playMedia"}}, "error"), "7007");
  command(R"({"do":"set","locked":false,"reachable":false})");
  EXPECT_EQ(changes.await("unreachable"), 1U);
  EXPECT_EQ(ask({{"request", "playMedia"}}, "error"), "7007");
  command(R"({"do":"set","reachable":true})");
  EXPECT_GE(changes.await("reachable", 2), 2U);
  EXPECT_EQ(ask({{"request", "Hello"}}, "request"), "success");
}

TEST_F(PhoneOverLink, ComesBackWhenTheWatchDoes) {
  start();
  EXPECT_EQ(heard.await("file", 27), 27U);
  const std::uint16_t port = session->port();
  endSession();
  session.emplace(
      mainQueue, std::make_unique<host::ThreadQueue>("delivery"),
      host::LinkPhoneSession::Options{.listenOn = {"127.0.0.1", port}, .spoolFolder = spool.path()});
  session->setDelegate(&watch);
  session->activateSession();
  EXPECT_EQ(heard.await("data weekly_top_15", 2), 2U) << "a new run of the watch gets everything";
  EXPECT_EQ(heard.await("file", 54), 54U);
}

TEST_F(PhoneOverLink, ItsConsoleShowsAndCommands) {
  auto server = std::make_unique<http::HttpServer>(phone->context(), http::Address{});
  phone::Console console(*phone, *server, phone->context(), TUNEVALE_SOURCE_DIR "/web");
  start();
  http::TestWebSocket live(server->port(), "/phone/live");
  EXPECT_TRUE(live.read().starts_with(R"({"state":{"song":{)"));
  live.send(R"({"do":"volume","value":3})");
  while (live.read().find(R"("volume":3)") == std::string::npos) {
  }
  live.send("nonsense");
  while (!live.read().starts_with(R"({"event":{"event":"error")")) {
  }
  live.send(R"({"do":"quit"})");
  while (!live.read().starts_with(R"({"event":{"event":"error")")) {
  }
  const std::string state = http::bodyOf(http::ask(server->port(), "GET", "/phone/state"));
  EXPECT_NE(state.find(R"("volume":3)"), std::string::npos);
  const std::size_t artwork = state.find(R"("artwork":")");
  ASSERT_NE(artwork, std::string::npos);
  const std::string picture =
      http::ask(server->port(), "GET", "/phone/artwork/" + state.substr(artwork + 11, 16));
  EXPECT_EQ(http::statusOf(picture), 200);
  EXPECT_TRUE(http::bodyOf(picture).starts_with("\xFF\xD8"));
  EXPECT_EQ(http::statusOf(http::ask(server->port(), "GET", "/phone/artwork/../x")), 404);
  EXPECT_EQ(http::statusOf(http::ask(server->port(), "GET", "/phone")), 200);
  EXPECT_EQ(http::statusOf(http::ask(server->port(), "GET", "/common/dom.js")), 200);
  phone->stop();
}

}  // namespace
}  // namespace tunevale
