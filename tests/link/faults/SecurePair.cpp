#include "link/faults/SecurePair.h"

namespace tunevale::link {

SecurePair::SecurePair(const Timing& timing) : watch(Role::watch, timing), phone(Role::phone, timing) {
  watch.meet(phone.identity.keyHash(), 0);
  proxy.emplace(watch.listener->port());
  phone.meet(watch.identity.keyHash(), proxy->port());
  watch.loop.start();
  phone.loop.start();
}

bool SecurePair::becomesReachable(std::chrono::milliseconds within) {
  return watch.comes([this] { return watch.session->state().reachable; }, within) &&
         phone.comes([this] { return phone.session->state().reachable; }, within);
}

}  // namespace tunevale::link
