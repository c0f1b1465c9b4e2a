#pragma once

#include <memory>
#include <vector>

#include "platform/BackgroundTasks.h"

namespace tunevale {

/// What the platform tells the extension about its life. Main queue.
class WKExtensionDelegate {
 public:
  virtual ~WKExtensionDelegate() = default;
  virtual void applicationDidFinishLaunching() = 0;
  virtual void applicationDidBecomeActive() = 0;
  virtual void applicationWillResignActive() = 0;
  virtual void applicationWillEnterForeground() = 0;
  virtual void applicationDidEnterBackground() = 0;
  /// Every task handed over is to be completed.
  virtual void handleBackgroundTasks(const std::vector<std::shared_ptr<WKRefreshBackgroundTask>>& tasks) = 0;
};

/// The running extension; reached as `sharedExtension` of the platform.
class WKExtension {
 public:
  /// Set once, before the delegate is launched; the delegate outlives every screen.
  void setDelegate(WKExtensionDelegate* delegate) { delegate_ = delegate; }
  WKExtensionDelegate* delegate() const { return delegate_; }

 private:
  WKExtensionDelegate* delegate_ = nullptr;
};

}  // namespace tunevale
