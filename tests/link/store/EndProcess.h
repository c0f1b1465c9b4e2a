#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "link/CrashPoint.h"
#include "link/Identity.h"
#include "link/Role.h"
#include "link/store/QueueApp.h"

namespace tunevale::link {

/// What one end does in a process of its own: talks to the other, both queueing `count` of each kind, until
/// it is killed. It dies by itself when it comes to a point for the given time.
struct EndPlan {
  Role role = Role::watch;
  std::string folder;
  std::uint16_t port = 0;
  Identity identity;
  KeyHash peer;
  int count = 0;
  bool paced = false;  // queues one thing at a time, so that the ends are idle now and then
  std::optional<CrashPoint> point{};
  int passes = 1;
};

/// A running end.
class EndProcess {
 public:
  explicit EndProcess(const EndPlan& plan);
  ~EndProcess();  // kills it
  EndProcess(const EndProcess&) = delete;
  EndProcess& operator=(const EndProcess&) = delete;

  /// Everything that it queued is with the other end, and everything that it should get has come.
  bool isDone();
  /// It has died by itself.
  bool isDead();
  void kill();

 private:
  pid_t process_ = -1;
  int reports_ = -1;
  bool done_ = false;
};

std::vector<std::string> effectsIn(const std::string& folder);
/// How often an end that was done had come to each point.
std::vector<int> passesIn(const std::string& folder);
std::uint16_t unusedPort();

}  // namespace tunevale::link
