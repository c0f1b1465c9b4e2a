#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "host/LinkPhoneSession.h"
#include "host/LinkRecording.h"
#include "host/PairingControl.h"
#include "host/ThreadQueue.h"
#include "http/HttpServer.h"
#include "http/TestClient.h"
#include "link/SqliteStore.h"
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
    std::size_t found = 0;
    changed_.wait_for(lock, 50s, [&] {
      const auto begins = [&](const std::string& line) { return line.starts_with(start); };
      found = static_cast<std::size_t>(std::ranges::count_if(lines_, begins));
      return found >= count;
    });
    return found;
  }
  std::string line(std::size_t index = 0) const {
    const std::lock_guard lock(mutex_);
    return index < lines_.size() ? lines_[index] : "";
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
};

/// A main queue on a thread.
struct ThreadMainQueue : MainQueue {
  void async(Block block) override { queue.async(std::move(block)); }
  void after(std::chrono::nanoseconds, Block) override { FAIL() << "the session sets no timers here"; }
  host::ThreadQueue queue{"main-for-test"};
};

/// A watch's side that notes what comes.
class Watch : public PhoneSessionDelegate {
 public:
  explicit Watch(Notes& notes) : notes_(notes) {}
  void sessionActivationDidCompleteWithState(PhoneSession&, ActivationState state,
                                             const std::optional<SessionError>& error) override {
    notes_.add("activation " + std::to_string(static_cast<int>(state)) +
               (error ? " " + std::to_string(error->code) : ""));
  }
  void sessionDidReceiveMessage(PhoneSession&, const PlistDictionary&, const MessageReply& reply) override {
    reply({{"request", "success"}});
  }
  void sessionDidReceiveMessageData(PhoneSession&, ByteView data, const DataReply&) override {
    const auto value = unarchiveObjectWithData(data);
    for (const auto& entry : *value->dictionary()) notes_.add("data " + std::string(entry.key.view()));
  }

 private:
  Notes& notes_;
};

struct PhoneNotes : phone::PhoneObserver {
  void phoneDidEmit(const std::string& event) override { notes.add(event); }
  Notes notes;
};

struct PhoneOverLink : testing::Test {
  PhoneOverLink() {
    session.emplace(mainQueue, std::make_unique<host::ThreadQueue>("delivery"), optionsFor(home));
    session->setDelegate(&watch);
    session->setChangeHandler([this, before = false]() mutable {
      const bool reachable = session->isReachable();
      if (std::exchange(before, reachable) != reachable) changes.add(reachable ? "reachable" : "unreachable");
      views.add(viewWords(session->pairing().view()));
    });
    phone.emplace(optionsOfPhone(phoneHome.path()));
    phone->addObserver(observer);
  }
  host::LinkPhoneSession::Options optionsFor(const test::TemporaryFolder& folder) {
    return {
        .listenOn = {"localhost", 0},
        .folder = folder.path(),
        .timing = timing,
        .happened = [this](const host::RecordedEvent& event) { happened.add(host::recordedLine(event)); }};
  }
  phone::PhoneOptions optionsOfPhone(const std::string& folder) const {
    return {.watch = {"127.0.0.1", session->port()}, .folder = folder, .timing = timing};
  }
  static std::string viewWords(const host::PairingView& view) {
    constexpr std::array kTroubles{"", " incomplete", " other key"};
    return std::to_string(static_cast<int>(view.status.step)) + (view.peer ? " paired" : " alone") +
           kTroubles[static_cast<std::size_t>(view.trouble)];
  }
  ~PhoneOverLink() override {
    phone.reset();
    mainQueue.queue.sync([this] { session.reset(); });
  }
  /// An address with a token, of this watch.
  std::optional<link::PairingAddress> token() {
    return link::parsePairingAddress(session->pairing().open(false, true));
  }
  void start() {
    session->activateSession();
    phone->start(token());
    ASSERT_GE(changes.await("reachable"), 1U);
  }
  void command(const std::string& line) { phone->perform(line, phone::Origin::script); }
  /// The reply to a request, as its text under "request", or the number of its error.
  std::string ask(const char* request) {
    const auto answered = std::make_shared<Notes>();
    session->sendMessage(
        {{"request", request}},
        [=](const PlistDictionary& reply) {
          answered->add(std::string(reply.find("request")->string().value_or("not a text")));
        },
        [=](const SessionError& error) { answered->add(std::to_string(error.code)); });
    answered->await("");
    return answered->line();
  }

  Notes heard;
  Notes changes;
  Notes views;
  Notes happened;
  Watch watch{heard};
  link::Timing timing{.pairingSpacing = 1ms};
  test::TemporaryFolder home;
  test::TemporaryFolder phoneHome;
  ThreadMainQueue mainQueue;
  std::shared_ptr<PhoneNotes> observer = std::make_shared<PhoneNotes>();
  std::optional<host::LinkPhoneSession> session;
  std::optional<phone::Phone> phone;
};

TEST_F(PhoneOverLink, PairsAndActivatesWhenBothPeopleSayYesToTheSameCode) {
  session->activateSession();
  EXPECT_EQ(heard.await("activation 0 7005"), 1U) << "nobody was paired";
  EXPECT_EQ(ask("Hello"), "7004");
  phone->start(link::parsePairingAddress(session->pairing().open(true, false)));
  const std::string asked = R"({"event":"pairing","watch":null,"step":"comparing","code":")";
  ASSERT_EQ(observer->notes.await(asked), 1U);
  ASSERT_GE(views.await("2 alone"), 1U);
  const std::string code = session->pairing().view().status.code;
  EXPECT_EQ(observer->notes.await(asked + code + '"'), 1U) << "both show the same";
  session->pairing().answer("000000" == code ? "000001" : "000000", false);  // not what the person saw
  session->pairing().answer(code, true);
  EXPECT_GE(views.await("3 alone"), 1U) << "one yes is not enough";
  EXPECT_EQ(changes.await("reachable", 0), 0U);
  command(R"({"do":"confirm_pairing","code":")" + code + R"("})");
  ASSERT_GE(changes.await("reachable"), 1U);
  EXPECT_EQ(heard.await("activation 2"), 1U);
  EXPECT_EQ(heard.line(1), "activation 2") << "before anything that the new phone sends";
  EXPECT_EQ(session->pairing().view().peer, phone->keyHash());
  EXPECT_EQ(phone->watch(), session->keyHash());

  EXPECT_EQ(session->pairing().unpair(), std::nullopt);
  EXPECT_GE(views.await("0 alone"), 1U);
  EXPECT_EQ(happened.await(R"({"at":0,"event":"unpaired"})"), 1U);
  EXPECT_EQ(observer->notes.await(R"({"event":"pairing","watch":null,"step":"closed")"), 1U)
      << "the phone was told";
  EXPECT_EQ(session->activationState(), ActivationState::notActivated) << "as before a phone was paired";
  EXPECT_EQ(changes.await("unreachable"), 1U);
  EXPECT_EQ(ask("Hello"), "7004");
  EXPECT_EQ(phone->watch(), std::nullopt);
  command(R"({"do":"pair","address":")" + session->pairing().open(false, true) + R"("})");
  EXPECT_EQ(heard.await("activation 2", 2), 2U);
  EXPECT_GE(changes.await("reachable", 2), 2U);
  EXPECT_EQ(session->activationState(), ActivationState::activated);
  EXPECT_EQ(ask("playMedia"), "success");
}

TEST_F(PhoneOverLink, AnotherKeyIsAnAlarmAndAnotherPairingTakesThePlace) {
  start();
  const test::TemporaryFolder otherHome;
  const auto otherNotes = std::make_shared<PhoneNotes>();
  std::optional<phone::Phone> other;
  const auto startOther = [&](const std::optional<link::PairingAddress>& pair) {
    other.emplace(optionsOfPhone(otherHome.path()));
    other->addObserver(otherNotes);
    other->start(pair);
  };
  link::SqliteStore({.path = otherHome.path("link.sqlite"), .vfs = {}}, {}).setPin({});
  startOther({});
  EXPECT_GE(views.await("4 paired incomplete"), 1U) << "somebody takes this watch for another one";
  other.reset();
  command(R"({"do":"set","locked":true})");
  EXPECT_GE(changes.await("unreachable"), 1U);
  EXPECT_EQ(viewWords(session->pairing().view()), "4 paired") << "its phone is heard, so all is well";

  startOther(token());
  EXPECT_GE(otherNotes->notes.await(R"({"event":"link","connected":true)"), 1U);
  EXPECT_EQ(session->pairing().view().peer, other->keyHash());
  EXPECT_GE(observer->notes.await(R"({"event":"pairing","watch":null,"step":"closed")"), 1U)
      << "the former phone is told";

  // The second is forgotten while it is away; it still believes to be paired.
  other.reset();
  phone.reset();
  EXPECT_EQ(session->pairing().unpair(), std::nullopt);
  startOther({});
  EXPECT_GE(views.await("0 alone incomplete"), 1U);
  EXPECT_GE(
      otherNotes->notes.await(R"({"event":"pairing","watch":")" + link::fingerprint(session->keyHash()) +
                              R"(","step":"closed","code":null,"text":null,"trouble":"incomplete")"),
      1U);
  other.reset();

  // With a third in its place, its call is one of a stranger.
  phone.emplace(optionsOfPhone(""));
  phone->start(token());
  EXPECT_GE(views.await("4 paired"), 1U);
  startOther({});
  EXPECT_GE(views.await("4 paired other key"), 1U);
  const host::PairingView view = session->pairing().view();
  EXPECT_EQ(view.stranger, other->keyHash());
  EXPECT_EQ(view.peer, phone->keyHash()) << "an alarm, never an update";
  other.reset();
  session->pairing().dismissTrouble();
  EXPECT_EQ(session->pairing().view().trouble, host::PairingView::Trouble::none);
}

TEST_F(PhoneOverLink, MovesToAnotherWatchAndStaysThereWhatAnAttemptToPairComesTo) {
  start();
  const test::TemporaryFolder otherHome;
  Notes otherHeard;
  Watch otherWatch{otherHeard};
  std::optional<host::LinkPhoneSession> other;
  other.emplace(mainQueue, std::make_unique<host::ThreadQueue>("other"), optionsFor(otherHome));
  other->setDelegate(&otherWatch);
  other->activateSession();
  const std::string address = other->pairing().open(false, true);
  command(R"({"do":"pair","address":")" + address + R"("})");
  EXPECT_EQ(otherHeard.await("data weekly_top_15"), 1U);
  EXPECT_GE(views.await("0 alone"), 1U) << "the former watch is told";
  EXPECT_EQ(phone->watch(), other->keyHash());
  EXPECT_EQ(other->pairing().view().status.step, link::PairingStatus::Step::paired);
  EXPECT_EQ(other->pairing().view().address, "") << "there is none while the window is closed";

  // The same command line again, with a token that is spent.
  phone.reset();
  phone.emplace(optionsOfPhone(phoneHome.path()));
  phone->start(link::parsePairingAddress(address));
  EXPECT_EQ(otherHeard.await("data weekly_top_15", 2), 2U);
  mainQueue.queue.sync([&other] { other.reset(); });
}

TEST_F(PhoneOverLink, ItsConsoleTakesCommandsButNoNonsense) {
  auto server = std::make_unique<http::HttpServer>(phone->context(), http::Address{});
  phone::Console console(*phone, *server, phone->context(), TUNEVALE_SOURCE_DIR "/web");
  start();
  http::TestWebSocket live(server->port(), "/phone/live");
  EXPECT_TRUE(live.read().starts_with(R"({"state":{"song":{)"));
  for (const char* refused : {"nonsense", R"({"do":"quit"})"}) {
    live.send(refused);
    while (!live.read().starts_with(R"({"event":{"event":"error")")) {
    }
  }
  EXPECT_EQ(http::statusOf(http::ask(server->port(), "GET", "/phone/artwork/../x")), 404);
  phone->stop();
}

}  // namespace
}  // namespace tunevale
