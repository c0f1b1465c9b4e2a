#include "support/World.h"

namespace tunevale::test {

World::World(std::shared_ptr<TemporaryFolder> in)
    : folder(std::move(in)),
      home(folder->path("home")),
      phone(mainQueue),
      services(home, mainQueue, log),
      platform(services.makePlatform(phone)) {
  platform.makeSerialQueue = [this](const std::string&) { return queues.make(); };
}

void World::settle() {
  bool ran = true;
  while (ran) {
    ran = queues.settle();
    ran = mainQueue.drain() > 0 || ran;
  }
}

}  // namespace tunevale::test
