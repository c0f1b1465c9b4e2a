#include <future>
#include <thread>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "StubScreens.h"
#include "complication/ComplicationController.h"
#include "host/RunLoop.h"
#include "host/Settler.h"
#include "host/WatchDisplay.h"
#include "http/HttpServer.h"
#include "http/TestClient.h"
#include "support/Pictures.h"

namespace tunevale::host {
namespace {

namespace json = boost::json;
using test::StubScreen;

/// A watch of the stub layout on a real loop, on a thread of its own.
class WatchDisplayTest : public testing::Test {
 protected:
  WatchDisplayTest() {
    test::addStubs(registry_);
    display_.emplace(
        platform_, loop_, registry_, complications_,
        WatchDisplay::Options{folder_.layoutPath(), std::string(TUNEVALE_SOURCE_DIR) + "/web", {}, [this] {
                                return pending_.load();
                              }});
    display_->start();
    thread_ = std::thread([this] { loop_.run(); });
  }
  ~WatchDisplayTest() override {
    loop_.stop();
    thread_.join();
    display_.reset();
  }
  std::uint16_t port() { return display_->server().port(); }
  std::string get(const std::string& path, const std::string& fields = "") {
    return http::ask(port(), "GET", path, fields);
  }
  std::string post(const std::string& input) { return http::ask(port(), "POST", "/api/input", "", input); }
  json::value screen() { return json::parse(http::bodyOf(get("/api/screen"))); }

  test::TemporaryFolder home_;
  test::LayoutFolder folder_;
  HomeFolder homeFolder_{home_.path("home")};
  RunLoop loop_;
  test::CollectingLog log_;
  test::ScriptedPhone phone_{loop_};
  Services services_{homeFolder_, loop_, log_};
  Platform platform_{services_.makePlatform(phone_)};
  ControllerRegistry registry_{platform_};
  ComplicationController complications_;
  std::atomic<std::size_t> pending_ = 0;
  std::optional<WatchDisplay> display_;
  std::thread thread_;
};

TEST_F(WatchDisplayTest, AnswersInputsWithTheSettledStateAndARefusalToWhoAsked) {
  http::TestWebSocket live(port(), "/api/live");
  EXPECT_EQ(json::parse(live.read()).at_pointer("/screen/identifier"), "Home");
  live.send(R"({"tap":"nothing"})");
  EXPECT_EQ(json::parse(live.read()),
            json::parse(R"({"refused":"there is no \"nothing\" here","input":{"tap":"nothing"}})"));
  const std::string pushed = post(R"({"tap":"pushSegue"})");
  EXPECT_EQ(http::statusOf(pushed), 200);
  EXPECT_EQ(json::parse(http::bodyOf(pushed)).at("back"), "Home");
  const std::string refused = post(R"({"tap":"nothing"})");
  EXPECT_EQ(http::statusOf(refused), 409);
  EXPECT_EQ(http::bodyOf(refused), R"({"error":"there is no \"nothing\" here"})");
  EXPECT_EQ(http::statusOf(post("{")), 400);
  post(R"({"back":true})");
  post(R"({"tap":"modalSegue"})");
  const json::value alerted = screen();
  EXPECT_EQ(alerted.at("presentation"), "modal");
  EXPECT_EQ(alerted.at("back"), "Second");
  EXPECT_TRUE(alerted.at("pages").is_null());
  EXPECT_EQ(
      alerted.at("alert"),
      json::parse(R"({"title":"Title","message":"from awake","actions":[{"title":"OK","style":"cancel"}]})"));
}

TEST_F(WatchDisplayTest, WaitsForThePhoneBeforeItAnswers) {
  pending_ = 1;
  auto answer = std::async(std::launch::async, [this] { return post(R"({"tap":"button"})"); });
  while (log_.lines().empty() || log_.lines().back() != "Home: acted") std::this_thread::yield();
  for (int turn = 0; turn < 10; ++turn) screen();  // who would wait for a few turns alone has answered now
  loop_.async([this] {
    // As an answer's handler does: it counts as pending until it has run.
    display_->phoneStateDidChange();
    pending_ = 0;
    phone_.setActivationState(ActivationState::activated);
  });
  EXPECT_EQ(json::parse(http::bodyOf(answer.get())).at("phone").at("activated"), true);
}

TEST_F(WatchDisplayTest, ServesThePicturesAndNothingElse) {
  const std::string dot = get("/api/image/dot");
  EXPECT_NE(dot.find("Content-Type: image/png"), std::string::npos);
  EXPECT_EQ(asText(test::pngPicture(1, 1)), http::bodyOf(dot));
  for (const char* path :
       {"/api/image/", "/api/image/dot.png", "/api/image/spin", "/api/image/art-0", "/api/image/..%2Fdot"}) {
    EXPECT_EQ(http::statusOf(get(path)), 404) << path;
  }
}

TEST(Settler, WaitsForThePhoneAndForRestButNotForEver) {
  test::ManualMainQueue mainQueue;
  std::size_t pending = 1;
  Settler settler(mainQueue, [&] { return pending; });
  bool done = false;
  const auto turnAfter = [&](int wait) {
    mainQueue.advance(std::chrono::milliseconds(wait));
    do settler.turnDidEnd();
    while (mainQueue.drain() > 0);
    return done;
  };
  settler.wait([&] { done = true; });
  EXPECT_FALSE(turnAfter(400));
  for (const std::size_t owed : {0U, 0U, 0U, 1U, 0U, 0U, 0U}) {
    pending = owed;
    settler.turnDidEnd();
  }
  EXPECT_FALSE(done) << "what each answer submits comes first";
  EXPECT_TRUE(turnAfter(0));

  done = false;
  pending = 1;
  settler.wait([&] { done = true; });
  EXPECT_FALSE(turnAfter(499));
  EXPECT_TRUE(turnAfter(1));
}

}  // namespace
}  // namespace tunevale::host
