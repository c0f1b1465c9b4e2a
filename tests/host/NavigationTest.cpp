#include <gtest/gtest.h>

#include "StubScreens.h"
#include "host/Navigation.h"
#include "platform/WKExtension.h"
#include "support/World.h"

namespace tunevale::host {
namespace {

using test::StubScreen;
using Lines = std::vector<std::string>;

/// Writes what it is told of to the log.
class StubDelegate : public WKExtensionDelegate {
 public:
  explicit StubDelegate(Log& log) : log_(log) {}
  void applicationDidFinishLaunching() override {}
  void applicationDidBecomeActive() override { log_.write("didBecomeActive"); }
  void applicationWillResignActive() override { log_.write("willResignActive"); }
  void applicationWillEnterForeground() override { log_.write("willEnterForeground"); }
  void applicationDidEnterBackground() override { log_.write("didEnterBackground"); }
  void handleBackgroundTasks(const std::vector<std::shared_ptr<WKRefreshBackgroundTask>>& tasks) override {
    for (const auto& task : tasks) {
      log_.write(std::dynamic_pointer_cast<WKSnapshotRefreshBackgroundTask>(task) ? "snapshot"
                                                                                  : "other task");
      task->setTaskCompleted();
    }
  }

 private:
  Log& log_;
};

class NavigationTest : public testing::Test {
 protected:
  NavigationTest() {
    test::addStubs(registry_);
    layout_ = folder_.read(test::stubLayout(), registry_);
    world_.platform.sharedExtension.setDelegate(&delegate_);
    navigation_.start();
    take();
  }
  Lines take() {
    Lines lines = world_.log.lines();
    world_.log.clear();
    return lines;
  }
  StubScreen& top() { return static_cast<StubScreen&>(*navigation_.screen()); }
  void push(const std::string& name, const PlistValue& context = {}) {
    top().pushControllerWithName(name, context);
  }

  test::World world_;
  StubDelegate delegate_{world_.log};
  ControllerRegistry registry_{world_.platform};
  test::LayoutFolder folder_;
  InterfaceLayout layout_;
  Navigation navigation_{layout_, registry_, world_.platform.sharedExtension, [] {}};
};

TEST_F(NavigationTest, DrivesEachScreenThroughItsLifeInOrder) {
  push("Third", PlistValue("alert"));
  EXPECT_EQ(take(), (Lines{"Third: awake alert", "Home: disappear", "Home: inactive", "Third: active"}));
  EXPECT_EQ(navigation_.identifier(), "Third");
  EXPECT_EQ(navigation_.presentation(), Navigation::Presentation::push);
  EXPECT_TRUE(navigation_.back());
  EXPECT_EQ(take(), (Lines{"Third: disappear", "Third: inactive", "Home: active"}));
  EXPECT_FALSE(navigation_.back());
}

TEST_F(NavigationTest, AwakensAllPagesAndShowsOne) {
  top().presentControllerWithNames({"Second", "Third"}, {PlistValue("alert")});
  EXPECT_EQ(take(), (Lines{"< Second: awake alert", "Third: awake ", "Home: disappear", "Home: inactive",
                           "< Second: active"}));
  EXPECT_EQ(navigation_.pageCount(), 2U);
  const auto first = navigation_.screen();
  EXPECT_TRUE(navigation_.showPage(1));
  EXPECT_EQ(take(), (Lines{"< Second: disappear", "< Second: inactive", "Third: active"}));
  first->pushControllerWithName("Third", {});  // a late answer to the page that is not seen
  EXPECT_EQ(take(), (Lines{"Third: awake ", "Third: disappear", "Third: inactive", "Third: active"}));
  EXPECT_TRUE(navigation_.back());
  EXPECT_FALSE(navigation_.showPage(2));
  EXPECT_TRUE(navigation_.back());
  EXPECT_EQ(take(), (Lines{"Third: disappear", "Third: inactive", "Third: active", "Third: disappear",
                           "Third: inactive", "Home: active"}));
  EXPECT_FALSE(navigation_.showPage(0));
}

TEST_F(NavigationTest, TellsTheExtensionOfForegroundAndBackground) {
  navigation_.setForeground(false);
  EXPECT_EQ(take(), (Lines{"willResignActive", "Home: disappear", "Home: inactive", "didEnterBackground",
                           "snapshot"}));
  navigation_.setForeground(false);
  // What a late answer opens is there, but not active until somebody looks.
  push("Third");
  EXPECT_EQ(take(), (Lines{"Third: awake "}));
  navigation_.setForeground(true);
  EXPECT_EQ(take(), (Lines{"willEnterForeground", "Third: active", "didBecomeActive"}));
}

TEST_F(NavigationTest, IgnoresWhatNobodyOnTopAsksFor) {
  const auto home = navigation_.screen();
  push("Third");
  take();
  home->pushControllerWithName("Second", {});
  push("Nowhere");
  top().presentControllerWithNames({"Second", "Nowhere"}, {});
  top().presentControllerWithNames({}, {});
  EXPECT_TRUE(take().empty());
  const auto left = navigation_.screen();
  navigation_.back();
  take();
  left->pushControllerWithName("Second", {});
  EXPECT_TRUE(take().empty());
  EXPECT_EQ(navigation_.identifier(), "Home");
}

TEST_F(NavigationTest, LetsWhatIsAskedForDuringAChangeWaitForItsEnd) {
  push("Second", PlistValue("Third"));
  const Lines lines = take();
  ASSERT_GE(lines.size(), 6U);
  EXPECT_EQ(lines[3], "< Second: active");
  EXPECT_EQ(lines[4], "Third: awake Third");
  // Third asks for another Third, and so on: somewhere there is an end.
  EXPECT_EQ(navigation_.identifier(), "Third");
  std::size_t levels = 1;
  while (navigation_.back()) ++levels;
  EXPECT_EQ(levels, Navigation::kMostLevels);
}

TEST_F(NavigationTest, QueuesAlertsFromAnywhereAndRunsTheirHandlers) {
  StubScreen& home = top();
  const auto left = [this] {
    push("Second");
    auto screen = navigation_.screen();
    EXPECT_TRUE(navigation_.back());
    return screen;
  }();
  push("Third", PlistValue("alert"));
  home.alert("from below");
  static_cast<StubScreen&>(*left).alert("from a screen that was left");
  top().presentAlertControllerWithTitle("Mute", "", WKAlertControllerStyle::alert, {});
  take();
  EXPECT_EQ(navigation_.alert()->message, "from awake");
  EXPECT_FALSE(navigation_.answerAlert(1));
  EXPECT_TRUE(navigation_.answerAlert(0));
  EXPECT_EQ(navigation_.alert()->message, "from below");
  EXPECT_TRUE(navigation_.answerAlert(0));
  EXPECT_EQ(navigation_.alert()->message, "from a screen that was left");
  EXPECT_TRUE(navigation_.answerAlert(0));
  EXPECT_EQ(take(), (Lines{"Third: answered from awake", "Home: answered from below",
                           "< Second: answered from a screen that was left"}));
  EXPECT_EQ(navigation_.alert()->actions.at(0).title, "OK");
  EXPECT_TRUE(navigation_.answerAlert(0));
  EXPECT_EQ(navigation_.alert(), nullptr);
  EXPECT_FALSE(navigation_.answerAlert(0));
}

TEST_F(NavigationTest, AnAlertThatIsUpOrWaitsDoesNotComeTwice) {
  const auto ask = [this](const std::string& message, const std::string& action = "OK", bool answers = true) {
    const auto handler = [&home = top(), message] { home.note("answered " + message); };
    top().presentAlertControllerWithTitle("Title", message, WKAlertControllerStyle::alert,
                                          {{action, {}, answers ? std::function<void()>(handler) : nullptr}});
  };
  ask("one", "OK", false);
  ask("one");
  ask("one", "Other");
  ask("two");
  ask("two");
  ask("two", "OK", false);
  const auto expectUp = [this](const char* message, const char* action, const Lines& answers) {
    ASSERT_NE(navigation_.alert(), nullptr);
    EXPECT_EQ(navigation_.alert()->message + navigation_.alert()->actions.at(0).title,
              std::string(message) + action);
    EXPECT_TRUE(navigation_.answerAlert(0));
    EXPECT_EQ(take(), answers);
  };
  expectUp("one", "OK", {"Home: answered one"});
  expectUp("one", "Other", {"Home: answered one"});
  expectUp("two", "OK", {"Home: answered two", "Home: answered two"});  // an answer to both
  ask("two");
  expectUp("two", "OK", {"Home: answered two"});  // it was gone, so it is a new one
  EXPECT_EQ(navigation_.alert(), nullptr);
}

TEST_F(NavigationTest, AnAlertOfAPageWaitsUntilThePageIsSeenOrLeft) {
  const auto up = [this] { return navigation_.alert() == nullptr ? "" : navigation_.alert()->message; };
  for (const bool turns : {true, false}) {
    // While it awakens, and later.
    top().presentControllerWithNames({"Second", "Third"}, {PlistValue(), PlistValue("alert")});
    StubScreen& first = top();
    EXPECT_EQ(up(), "");
    first.alert("of the first");
    EXPECT_EQ(up(), "of the first");
    navigation_.answerAlert(0);
    first.alert("from awake");  // of both, one of which is seen
    EXPECT_EQ(up(), "from awake");
    navigation_.answerAlert(0);
    EXPECT_TRUE(navigation_.showPage(1));
    EXPECT_EQ(up(), "");
    first.alert("of the first");
    EXPECT_FALSE(navigation_.answerAlert(0));
    EXPECT_TRUE(navigation_.showPage(turns ? 0 : 1));
    push("Third");  // over both pages; which of the two is turned to does not change
    EXPECT_EQ(up(), turns ? "of the first" : "");
    EXPECT_TRUE(navigation_.back());
    EXPECT_TRUE(navigation_.back());
    EXPECT_EQ(up(), "of the first");
    navigation_.answerAlert(0);
  }
}

}  // namespace
}  // namespace tunevale::host
