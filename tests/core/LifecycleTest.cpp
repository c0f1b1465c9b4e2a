#include <stdexcept>

#include "core/CoreTest.h"

namespace tunevale::test {
namespace {

using Lifecycle = CoreTest;

TEST_F(Lifecycle, LaunchActivatesTheSessionAndLoadsTheStations) {
  const PlistArray stations{PlistDictionary{{"title", "F"}}};
  ASSERT_FALSE(platform.fileManager.createDirectoryAtPath(directory()));
  const Bytes copy = archivedDataWithRootObject(PlistDictionary{{"featured", stations}});
  for (const bool supported : {true, false}) {
    radio().removeRadioData();
    defaults.setObject(PlistValue(copy), kReceiveRadioStations);
    phone.setSupported(supported);
    phone.setDelegate(nullptr);
    delegate.applicationDidFinishLaunching();
    EXPECT_EQ(radio().getFeaturedStations(), stations);
    EXPECT_EQ(phone.activations(), 1);  // the first time only
    if (supported) {
      EXPECT_EQ(&phone.delegate(), &delegate);
    } else {
      EXPECT_THROW(phone.delegate(), std::logic_error);
    }
  }
  EXPECT_TRUE(phone.sentMessages().empty());
}

TEST_F(Lifecycle, EveryChangeOfGroundIsToldAndEveryBackgroundTaskCompleted) {
  phone.setReachable(false);
  delegate.applicationWillEnterForeground();
  delegate.applicationDidEnterBackground();
  EXPECT_EQ(takeTrace(), (Trace{"send app:foreground", "send app:background"}));
  class OtherTask : public WKRefreshBackgroundTask {};
  const auto snapshot = std::make_shared<WKSnapshotRefreshBackgroundTask>();
  const std::vector<std::shared_ptr<WKRefreshBackgroundTask>> tasks{
      std::make_shared<WKApplicationRefreshBackgroundTask>(), snapshot,
      std::make_shared<WKWatchConnectivityRefreshBackgroundTask>(),
      std::make_shared<WKURLSessionRefreshBackgroundTask>(), std::make_shared<OtherTask>()};
  delegate.handleBackgroundTasks(tasks);
  for (const auto& task : tasks) EXPECT_TRUE(task->isCompleted());
  ASSERT_TRUE(snapshot->completion());
  EXPECT_TRUE(snapshot->completion()->defaultStateRestored);
  EXPECT_EQ(snapshot->completion()->estimatedSnapshotExpiration, kDistantFuture);
  EXPECT_FALSE(snapshot->completion()->userInfo);
}

TEST_F(Lifecycle, GreetsThePhoneOnceActivated) {
  phone.completeActivation(ActivationState::inactive);
  phone.completeActivation(ActivationState::notActivated, SessionError{7005, "not paired"});
  EXPECT_TRUE(phone.sentMessages().empty());
  EXPECT_EQ(phone.activations(), 0);

  phone.completeActivation();
  phone.completeActivation();
  phone.completeActivation(ActivationState::activated, SessionError{7001, "late\nstart"});
  EXPECT_EQ(takeTrace(), Trace(3, "send Hello"));
  phone.reply(0, {{"ok", 1}});
  phone.fail(1, {7007, "the phone is not there"});
  phone.fail(2, {7007, "the phone is not there"});
  settle();
  const auto lines = world.log.lines();
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_TRUE(lines[0].starts_with("Launching app launch successful{")) << lines[0];
  EXPECT_NE(lines[0].find("ok = 1"), std::string::npos);
  // how the activation went, not why the greeting failed
  EXPECT_EQ(lines[1], "Unable to launch or wake up phone app: (null)");
  EXPECT_TRUE(lines[2].starts_with("Unable to launch or wake up phone app: late")) << lines[2];
}

}  // namespace
}  // namespace tunevale::test
