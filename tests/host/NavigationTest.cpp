#include <gtest/gtest.h>

#include "StubScreens.h"

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
    ASSERT_TRUE(std::dynamic_pointer_cast<WKSnapshotRefreshBackgroundTask>(tasks.at(0)));
    log_.write("snapshot");
    tasks[0]->setTaskCompleted();
  }

 private:
  Log& log_;
};

struct NavigationTest : testing::Test, test::StubWorld {
  NavigationTest() {
    world.platform.sharedExtension.setDelegate(&delegate);
    navigation.start();
    take();
  }
  void push(const std::string& name, const PlistValue& context = {}) {
    top().pushControllerWithName(name, context);
  }
  std::string up() { return navigation.alert() == nullptr ? "" : navigation.alert()->message; }
  /// Gives the alert's first answer: "MESSAGE|ACTION" of it, and what that writes to the log.
  std::string answered() {
    std::string words = up() + "|" + navigation.alert()->actions.at(0).title;
    EXPECT_TRUE(navigation.answerAlert(0));
    for (const std::string& line : take()) words += "|" + line;
    return words;
  }
  StubDelegate delegate{world.log};
};

TEST_F(NavigationTest, DrivesEachScreenThroughItsLifeInOrder) {
  push("Third");
  EXPECT_EQ(take(), (Lines{"Third: awake ", "Home: disappear", "Home: inactive", "Third: active"}));
  EXPECT_TRUE(navigation.back());
  EXPECT_EQ(take(), (Lines{"Third: disappear", "Third: inactive", "Home: active"}));
  EXPECT_FALSE(navigation.back());

  top().presentControllerWithNames({"Second", "Third"}, {PlistValue("alert")});
  EXPECT_EQ(take(), (Lines{"< Second: awake alert", "Third: awake ", "Home: disappear", "Home: inactive",
                           "< Second: active"}));
  EXPECT_EQ(navigation.pageCount(), 2U);
  EXPECT_EQ(navigation.backLabel(), "Second");
  const auto first = navigation.screen();
  push("Third");
  EXPECT_EQ(navigation.backLabel(), "Second") << "of the title below";
  EXPECT_TRUE(navigation.back() && take().size() == 7);
  EXPECT_TRUE(navigation.showPage(1));
  EXPECT_EQ(navigation.backLabel(), "Close") << "this page's title says no way back";
  EXPECT_EQ(take(), (Lines{"< Second: disappear", "< Second: inactive", "Third: active"}));
  first->pushControllerWithName("Third", {});  // a late answer to the page that is not seen
  EXPECT_EQ(take(), (Lines{"Third: awake ", "Third: disappear", "Third: inactive", "Third: active"}));
  EXPECT_TRUE(navigation.back());
  EXPECT_FALSE(navigation.showPage(2));
  EXPECT_TRUE(navigation.back());
  EXPECT_EQ(take(), (Lines{"Third: disappear", "Third: inactive", "Third: active", "Third: disappear",
                           "Third: inactive", "Home: active"}));
  EXPECT_FALSE(navigation.showPage(0));
}

TEST_F(NavigationTest, TellsTheExtensionOfForegroundAndBackground) {
  navigation.setForeground(false);
  EXPECT_EQ(take(), (Lines{"willResignActive", "Home: disappear", "Home: inactive", "didEnterBackground",
                           "snapshot"}));
  navigation.setForeground(false);
  // What a late answer opens is there, but not active until somebody looks.
  push("Third");
  EXPECT_EQ(take(), (Lines{"Third: awake "}));
  navigation.setForeground(true);
  EXPECT_EQ(take(), (Lines{"willEnterForeground", "Third: active", "didBecomeActive"}));
}

TEST_F(NavigationTest, IgnoresWhatNobodyOnTopAsksFor) {
  const auto home = navigation.screen();
  push("Third");
  take();
  home->pushControllerWithName("Second", {});
  push("Nowhere");
  top().presentControllerWithNames({"Second", "Nowhere"}, {});
  top().presentControllerWithNames({}, {});
  EXPECT_TRUE(take().empty());
  const auto left = navigation.screen();
  navigation.back();
  take();
  left->pushControllerWithName("Second", {});
  EXPECT_TRUE(take().empty());
  EXPECT_EQ(navigation.identifier(), "Home");
}

TEST_F(NavigationTest, LetsWhatIsAskedForDuringAChangeWaitForItsEnd) {
  push("Second", PlistValue("Third"));
  const Lines lines = take();
  ASSERT_GE(lines.size(), 6U);
  EXPECT_EQ(lines[3], "< Second: active");
  EXPECT_EQ(lines[4], "Third: awake Third");
  // Third asks for another Third, and so on: somewhere there is an end.
  EXPECT_EQ(navigation.identifier(), "Third");
  std::size_t levels = 1;
  while (navigation.back()) ++levels;
  EXPECT_EQ(levels, Navigation::kMostLevels);
}

TEST_F(NavigationTest, QueuesAlertsFromAnywhereAndRunsTheirHandlers) {
  StubScreen& home = top();
  push("Second");
  const auto left = navigation.screen();
  EXPECT_TRUE(navigation.back());
  push("Third", PlistValue("alert"));
  home.alert("from below");
  static_cast<StubScreen&>(*left).alert("from a screen that was left");
  top().presentAlertControllerWithTitle("Mute", "", WKAlertControllerStyle::alert, {});
  take();
  EXPECT_FALSE(navigation.answerAlert(1));
  EXPECT_EQ(answered(), "from awake|OK|Third: answered from awake");
  EXPECT_EQ(answered(), "from below|OK|Home: answered from below");
  EXPECT_EQ(answered(), "from a screen that was left|OK|< Second: answered from a screen that was left");
  EXPECT_EQ(answered(), "|OK");
  EXPECT_EQ(navigation.alert(), nullptr);
  EXPECT_FALSE(navigation.answerAlert(0));
}

TEST_F(NavigationTest, AnAlertThatIsUpOrWaitsDoesNotComeTwice) {
  const auto ask = [this](const std::string& message, const std::string& action = "OK", bool answers = true) {
    const auto handler = [&home = top()] { home.note("answered"); };
    top().presentAlertControllerWithTitle("Title", message, WKAlertControllerStyle::alert,
                                          {{action, {}, answers ? std::function<void()>(handler) : nullptr}});
  };
  ask("one", "OK", false);
  ask("one");
  ask("one", "Other");
  ask("two");
  ask("two");
  ask("two", "OK", false);
  EXPECT_EQ(answered(), "one|OK|Home: answered");
  EXPECT_EQ(answered(), "one|Other|Home: answered");
  EXPECT_EQ(answered(), "two|OK|Home: answered|Home: answered");  // an answer to both
  ask("two");
  EXPECT_EQ(answered(), "two|OK|Home: answered");  // it was gone, so it is a new one
  EXPECT_EQ(navigation.alert(), nullptr);
}

TEST_F(NavigationTest, AnAlertOfAPageWaitsUntilThePageIsSeenOrLeft) {
  for (const bool turns : {true, false}) {
    // While it awakens, and later.
    top().presentControllerWithNames({"Second", "Third"}, {PlistValue(), PlistValue("alert")});
    StubScreen& first = top();
    EXPECT_EQ(up(), "");
    first.alert("of the first");
    answered();
    first.alert("from awake");  // of both, one of which is seen
    EXPECT_EQ(up(), "from awake");
    answered();
    EXPECT_TRUE(navigation.showPage(1));
    EXPECT_EQ(up(), "");
    first.alert("of the first");
    EXPECT_FALSE(navigation.answerAlert(0));
    EXPECT_TRUE(navigation.showPage(turns ? 0 : 1));
    push("Third");  // over both pages; which of the two is turned to does not change
    EXPECT_EQ(up(), turns ? "of the first" : "");
    EXPECT_TRUE(navigation.back());
    EXPECT_TRUE(navigation.back());
    EXPECT_EQ(up(), "of the first");
    answered();
  }
}

}  // namespace
}  // namespace tunevale::host
