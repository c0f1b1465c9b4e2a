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
class World {
 public:
  World() : World(std::make_shared<TemporaryFolder>()) {}
  explicit World(std::shared_ptr<TemporaryFolder> in);

  /// Runs main queue and serial queues until all rest. Later blocks wait for mainQueue.advance().
  void settle();

  // In the order in which they are made; each outlives what comes after it.
  std::shared_ptr<TemporaryFolder> folder;
  host::HomeFolder home;
  ManualMainQueue mainQueue;
  CollectingLog log;
  ScriptedPhone phone;
  TestQueues queues;
  host::Services services;
  Platform platform;
};

}  // namespace tunevale::test
