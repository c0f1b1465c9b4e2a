#pragma once

#include <memory>

#include "host/HomeFolder.h"
#include "host/Services.h"
#include "support/CollectingLog.h"
#include "support/ManualMainQueue.h"
#include "support/ScriptedPhone.h"
#include "support/TemporaryFolder.h"
#include "support/TestQueues.h"

namespace tunevale::test {

/// A watch in a fresh home with the real services, but for three: the main queue runs when told, the log is
/// kept, the phone is scripted. Serial queues run on this thread too. Nothing is shared between two worlds
/// but, if wanted, a folder: a second world in it, once the first is gone, is the same watch after a restart.
struct World {
  explicit World(std::shared_ptr<TemporaryFolder> in = std::make_shared<TemporaryFolder>())
      : folder(std::move(in)) {
    platform.makeSerialQueue = [this](const std::string&) { return queues.make(); };
  }
  /// Runs main queue and serial queues until all rest. Later blocks wait for mainQueue.advance().
  void settle() {
    while (queues.settle() || mainQueue.drain() > 0) continue;
  }

  // In the order in which they are made; each outlives what comes after it.
  std::shared_ptr<TemporaryFolder> folder;
  host::HomeFolder home{folder->path("home")};
  ManualMainQueue mainQueue;
  CollectingLog log;
  ScriptedPhone phone{mainQueue};
  TestQueues queues;
  host::Services services{home, mainQueue, log};
  Platform platform = services.makePlatform(phone);
};

}  // namespace tunevale::test
