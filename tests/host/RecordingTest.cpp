#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "host/PosixFiles.h"
#include "host/RecordingPhoneSession.h"
#include "host/ReplayPhoneSession.h"
#include "support/World.h"

namespace tunevale::host {
namespace {

using namespace std::chrono_literals;

/// An extension that notes what it is told, answers, and asks when it has heard a context.
class Extension : public PhoneSessionDelegate {
 public:
  void sessionActivationDidCompleteWithState(PhoneSession& session, ActivationState state,
                                             const std::optional<SessionError>& error) override {
    EXPECT_EQ(session.activationState(), state);
    heard.push_back("activation" + code(error));
  }
  void sessionDidFinishUserInfoTransfer(PhoneSession&, const UserInfoTransfer& transfer,
                                        const std::optional<SessionError>& error) override {
    heard.push_back("finished " + word(transfer.userInfo) + code(error));
  }
  void sessionDidReceiveMessage(PhoneSession&, const PlistDictionary& message,
                                const MessageReply& reply) override {
    heard.push_back("message " + word(message));
    reply({{"n", "taken"}});
  }
  void sessionDidReceiveMessageData(PhoneSession&, ByteView data, const DataReply&) override {
    heard.push_back("data " + std::string(asText(data)));
  }
  void sessionDidReceiveUserInfo(PhoneSession&, const PlistDictionary& userInfo) override {
    heard.push_back("user info " + word(userInfo));
  }
  void sessionDidReceiveApplicationContext(PhoneSession& session, const PlistDictionary& context) override {
    heard.push_back("context " + word(context));
    ask(session, "one");
    ask(session, "two");
    session.sendMessageData(
        Bytes(3), [this](ByteView reply) { heard.push_back("answer " + std::string(asText(reply))); }, {});
  }
  void sessionDidReceiveFile(PhoneSession&, const ReceivedFile& file) override {
    const auto contents = PosixFiles().contentsAtPath(file.path);
    std::filesystem::remove(file.path);  // it was lent, and may be taken
    heard.push_back("file " + word(file.metadata) + " " + std::string(asText(contents.value_or(Bytes{}))));
  }
  void ask(PhoneSession& session, const char* what) {
    session.sendMessage(
        {{"n", what}}, [this](const PlistDictionary& reply) { heard.push_back("answer " + word(reply)); },
        [this](const SessionError& error) { heard.push_back("error" + code(error)); });
  }
  std::vector<std::string> heard;

 private:
  static std::string code(const std::optional<SessionError>& error) {
    return error ? " " + std::to_string(error->code) : "";
  }
  static std::string word(const PlistDictionary& dictionary) {
    return std::string(dictionary.find("n")->string().value_or(""));
  }
};

const std::vector<std::string> kTold{"activation 7005", "activation",        "message hello",
                                     "data \x01raw",    "user info later",   "context now",
                                     "answer first",    "error 7014",        "answer 2",
                                     "finished done",   "finished not 7005", "file picture PNG"};

struct Recording : testing::Test, test::World {
  /// A conversation of seven seconds, recorded by a clock that the test moves.
  Recording() {
    Recorder recorder(
        file, [](const std::string& why) { FAIL() << why; }, [this] { return clock; });
    RecordingPhoneSession session(phone, recorder);
    session.setDelegate(&extension);
    phone.setReachable(false);
    phone.completeActivation(ActivationState::notActivated, SessionError{7005, "not paired"});
    phone.completeActivation();
    phone.setReachable(true);
    for (const bool locked : {false, false, true, false}) {
      phone.setLocked(locked);
      session.noteState();
    }
    clock += 1s;
    phone.deliverMessage({{"n", "hello"}});
    phone.deliverMessageData(asBytes("\x01raw"));
    phone.deliverUserInfo({{"n", "later"}});
    phone.deliverApplicationContext({{"n", "now"}});
    clock += 3s;
    phone.reply(0, {{"n", "first"}});
    phone.fail(1, {7014, "it may have run"});
    phone.replyToData(0, {std::byte{'2'}});
    mainQueue.drain();
    clock += 1s;
    recorder.add({.kind = RecordedEvent::Kind::queueReset});
    recorder.add({.kind = RecordedEvent::Kind::fileFinished, .id = 1, .error = {7005, ""}});
    recorder.add({.kind = RecordedEvent::Kind::unpaired});
    phone.finishUserInfoTransfer({{"n", "done"}}, std::nullopt);
    phone.finishUserInfoTransfer({{"n", "not"}}, SessionError{7005, ""});
    clock += 2s;
    std::ofstream(folder->path("picture")) << "PNG";
    phone.deliverFile(folder->path("picture"), {{"n", "picture"}});
  }
  std::unique_ptr<ReplayPhoneSession> replay(double speed) {
    auto session = std::make_unique<ReplayPhoneSession>(
        mainQueue, queues.make(),
        ReplayPhoneSession::Options{readRecording(file), speed, folder->path("received"),
                                    [this] { ++changes; }, [this] { ++endings; }});
    extension.heard.clear();
    session->setDelegate(&extension);
    session->activateSession();
    settle();
    return session;
  }
  /// Time in steps, as the delivery queue only runs when told; how much the extension has heard then.
  std::size_t heardAfter(std::chrono::milliseconds time) {
    for (auto passed = 0ms; passed < time; passed += 10ms) {
      mainQueue.advance(10ms);
      settle();
    }
    return extension.heard.size();
  }

  const std::string file = folder->path("recording");
  std::chrono::steady_clock::time_point clock{};
  Extension extension;
  int changes = 0;
  int endings = 0;
};

TEST_F(Recording, ReplaysWhatWasHeardAndAnsweredAtThePaceThatIsAskedFor) {
  EXPECT_EQ(extension.heard, kTold);
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));

  auto session = replay(2);
  EXPECT_EQ(heardAfter(490ms), 2U);
  EXPECT_EQ(heardAfter(20ms), 6U);
  EXPECT_EQ(session->pendingRequests(), 3U);
  EXPECT_EQ(heardAfter(1480ms), 6U);
  heardAfter(1600ms);
  EXPECT_EQ(extension.heard, kTold);
  EXPECT_EQ(endings, 1);
  EXPECT_EQ(changes, 4) << "a state that stays the same is noted once, and so is the end of the pairing";
  EXPECT_EQ(session->activationState(), ActivationState::notActivated);
  EXPECT_FALSE(session->isReachable());
  EXPECT_EQ(session->pendingRequests(), 0U);
  extension.ask(*session, "one");  // its answer was given already
  settle();
  EXPECT_EQ(extension.heard.back(), "error 7007");
  EXPECT_FALSE(std::filesystem::exists(folder->path("received")));

  session = replay(1);
  session.reset();
  EXPECT_EQ(heardAfter(10s), 2U) << "ended in the middle, nothing is heard any more";
}

TEST_F(Recording, EndsBeforeHalfALineAndSaysWhichLineIsWrong) {
  const std::size_t count = readRecording(file).size();
  std::filesystem::resize_file(file, std::filesystem::file_size(file) - 5);
  EXPECT_EQ(readRecording(file).size(), count - 1);

  const auto complaint = [&](const std::string& contents) -> std::string {
    std::ofstream(file, std::ios::trunc) << contents;
    try {
      readRecording(file);
    } catch (const std::runtime_error& error) {
      return std::string(error.what()).substr(file.size());
    }
    return "none";
  };
  const std::string header = recordingHeader() + "\n";
  EXPECT_EQ(complaint("{}\n"), " is no recording");
  for (const auto& [line, why] : std::initializer_list<std::pair<const char*, const char*>>{
           {"[1]", "no JSON object"},
           {R"({"at":0,"event":"dance"})", "no such event"},
           {R"({"at":-1,"event":"activation"})", "at is no number"},
           {R"({"at":0,"event":"state","reachable":true})", "locked is missing"},
           {R"({"at":0,"event":"message_data","id":1,"data":"*"})", "data is not base 64"},
           {R"({"at":0,"event":"context","body":{"t":"int","v":"1"}})", "body is no dictionary"}}) {
    EXPECT_EQ(complaint(header + line + "\n"), std::string(", line 2: ") + why);
  }
  EXPECT_EQ(complaint(header), "none");
  EXPECT_THROW(Recorder(file, {}), std::runtime_error) << "nothing is written over";
}

}  // namespace
}  // namespace tunevale::host
