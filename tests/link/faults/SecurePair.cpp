#include "link/faults/SecurePair.h"

namespace tunevale::link {

using namespace std::chrono_literals;

SecureEnd::SecureEnd(Role role, const Timing& timing) : store({folder.path("link.db"), ""}, newEpoch(loop)) {
  const auto turn = [this](Block block) { loop.post(std::move(block)); };
  SessionOptions options;
  options.role = role;
  options.spoolFolder = folder.path("spool");
  options.timing = timing;
  session.emplace(loop, store, options, notes, turn, turn);
  session->activate();
}

bool SecureEnd::comes(const std::function<bool()>& condition, std::chrono::milliseconds within) {
  const auto end = std::chrono::steady_clock::now() + within;
  while (!ask(condition)) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(2ms);  // real sockets take real time
  }
  return true;
}

void SecureEnd::queueInfo(std::int64_t n) {
  if (!std::holds_alternative<std::uint64_t>(session->transferUserInfo({{"n", n}})))
    throw std::runtime_error("not queued");
}

void SecureEnd::queueFile(std::int64_t n) {
  const std::string path = folder.path("out");
  std::ofstream(path, std::ios::binary) << Notebook::contentsOf(n);
  if (!std::holds_alternative<std::uint64_t>(session->transferFile(path, {{"n", n}})))
    throw std::runtime_error("not queued");
}

Timing SecurePair::hasty() {
  Timing timing;
  timing.firstReconnect = 4ms;
  timing.lastReconnect = 20ms;
  timing.stateSpacing = 10ms;
  return timing;
}

SecurePair::SecurePair(const Timing& timing) : watch(Role::watch, timing), phone(Role::phone, timing) {
  watch.store.setPin(phone.identity.keyHash());
  phone.store.setPin(watch.identity.keyHash());
  TlsListener::Rules rules;
  rules.pin = [this] { return watch.store.pin(); };
  rules.timing = timing;
  listener.emplace(watch.loop, Endpoint{}, watch.identity, rules);
  listener->start([this](SecureStream stream) { watch.session->adopt(std::move(stream.stream), false); });
  proxy.emplace(listener->port());
  connector.emplace(phone.loop, *phone.session,
                    tlsDial(phone.loop, phone.identity, [this] { return phone.store.pin(); },
                            {{"127.0.0.1", proxy->port()}, timing, {}}),
                    timing);
  connector->start();
  watch.loop.start();
  phone.loop.start();
}

SecurePair::~SecurePair() {
  phone.loop.stop();
  watch.loop.stop();
}

bool SecurePair::becomesReachable(std::chrono::milliseconds within) {
  return watch.comes([this] { return watch.session->state().reachable; }, within) &&
         phone.comes([this] { return phone.session->state().reachable; }, within);
}

}  // namespace tunevale::link
