#include "support/World.h"

namespace tunevale::test {

World::World(std::shared_ptr<TemporaryFolder> in, Queues kind)
    : folder(std::move(in)),
      home(folder->path("home")),
      phone(mainQueue),
      queues(kind),
      services(home, mainQueue, log),
      platform(services.makePlatform(phone)) {
  platform.makeSerialQueue = [this](const std::string& label) { return queues.make(label); };
}

void World::settle() {
  bool ran = true;
  while (ran) {
    ran = queues.settle();
    ran = mainQueue.drain() > 0 || ran;
  }
}

}  // namespace tunevale::test
