#pragma once

#include <chrono>
#include <optional>

#include "foundation/PlistDictionary.h"

namespace tunevale {

/// The moment that never comes.
inline constexpr std::chrono::system_clock::time_point kDistantFuture =
    std::chrono::system_clock::time_point::max();

/// Time that the platform grants in the background, until the task is completed. Main queue.
class WKRefreshBackgroundTask {
 public:
  virtual ~WKRefreshBackgroundTask() = default;
  void setTaskCompleted() { completed_ = true; }
  bool isCompleted() const { return completed_; }

 private:
  bool completed_ = false;
};

class WKApplicationRefreshBackgroundTask : public WKRefreshBackgroundTask {};
class WKWatchConnectivityRefreshBackgroundTask : public WKRefreshBackgroundTask {};
class WKURLSessionRefreshBackgroundTask : public WKRefreshBackgroundTask {};

/// Time to bring the screen into the state that the watch's overview shows.
class WKSnapshotRefreshBackgroundTask : public WKRefreshBackgroundTask {
 public:
  struct Completion {
    bool defaultStateRestored = false;
    std::chrono::system_clock::time_point estimatedSnapshotExpiration;
    std::optional<PlistDictionary> userInfo;
  };
  void setTaskCompletedWithDefaultStateRestored(
      bool restored, std::chrono::system_clock::time_point estimatedSnapshotExpiration,
      std::optional<PlistDictionary> userInfo) {
    completion_ = {restored, estimatedSnapshotExpiration, std::move(userInfo)};
    setTaskCompleted();
  }
  const std::optional<Completion>& completion() const { return completion_; }

 private:
  std::optional<Completion> completion_;
};

}  // namespace tunevale
