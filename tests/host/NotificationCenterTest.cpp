#include <gtest/gtest.h>

#include "host/LocalNotificationCenter.h"

namespace tunevale::host {
namespace {

struct Observer {
  LocalNotificationCenter* center = nullptr;  // to leave as it goes
  ~Observer() {
    if (center != nullptr) center->removeObserver(this, "song");
  }
};

struct NotificationCenterTest : testing::Test {
  void observe(const std::shared_ptr<Observer>& observer, const std::string& what) {
    center.addObserver(observer, "song", [this, what](const Notification&) { heard += what; });
  }
  std::string afterAPost() {
    center.postNotificationName("song", std::nullopt);
    return heard;
  }
  LocalNotificationCenter center;
  std::string heard;
  std::shared_ptr<Observer> a = std::make_shared<Observer>();
  std::shared_ptr<Observer> b = std::make_shared<Observer>();
};

TEST_F(NotificationCenterTest, SkipsWhomAnEarlierHandlerRemovedOrDropped) {
  center.addObserver(a, "song", [this](const Notification&) {
    center.removeObserver(a.get(), "song");
    b.reset();
    heard += "a";
  });
  observe(b, "b");
  observe(a, "A");
  EXPECT_EQ(afterAPost(), "a");
  EXPECT_EQ(center.observerCount(), 0U);
}

TEST_F(NotificationCenterTest, KeepsAnObserverAliveDuringItsHandlerOnly) {
  b->center = &center;
  center.addObserver(b, "song", [this, watch = std::weak_ptr(b)](const Notification&) {
    b.reset();
    heard += watch.expired() ? "dead" : "alive";
  });
  observe(a, " next");
  EXPECT_EQ(afterAPost(), "alive next");
  EXPECT_EQ(center.observerCount(), 1U);
}

// What the handlers of dead observers hold must go, and may call back while it does.
TEST_F(NotificationCenterTest, LetsGoOfDeadObserversAtTheNextUse) {
  auto held = std::make_shared<Observer>();
  held->center = &center;
  const std::weak_ptr<Observer> watch = held;
  center.addObserver(b, "song", [held](const Notification&) {});
  held.reset();
  b.reset();
  EXPECT_EQ(center.observerCount(), 0U);
  EXPECT_FALSE(watch.expired());
  observe(a, "a");
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(afterAPost(), "a");
}

}  // namespace
}  // namespace tunevale::host
