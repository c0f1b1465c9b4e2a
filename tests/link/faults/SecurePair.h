#pragma once

#include <future>
#include <thread>

#include "link/faults/FaultProxy.h"
#include "link/faults/TlsEnd.h"
#include "link/store/QueueApp.h"
#include "support/TemporaryFolder.h"

namespace tunevale::link {

/// Keeps what an end hears.
struct Notebook : QueueApp {
  void sessionDidReceiveMessage(const PlistDictionary& message, const MessageReply& reply) override {
    ++messages;
    onMessage(message, reply);
  }
  void sessionDidFinishUserInfoTransfer(std::uint64_t, const PlistDictionary&,
                                        const std::optional<Error>& error) override {
    ++(error ? failed : finished);
  }
  void sessionDidFinishFileTransfer(std::uint64_t, const std::optional<Error>& error) override {
    ++(error ? failed : finished);
  }
  void sessionStateDidChange(const LinkState& state) override { states.push_back(state); }

  std::function<void(const PlistDictionary&, const MessageReply&)> onMessage =
      [](const PlistDictionary& message, const MessageReply& reply) { reply(message); };
  std::size_t messages = 0;
  std::size_t finished = 0;
  std::size_t failed = 0;
  std::vector<LinkState> states;
};

struct EndsThings {
  test::TemporaryFolder folder;
  Notebook notes;
};

struct SecureEnd : EndsThings, TlsEnd {
  SecureEnd(Role which, const Timing& times)
      : TlsEnd(which, folder.path(), Identity::temporary(), times, notes) {}

  /// Runs a question in the end's turn.
  template <class Question>
  auto ask(Question question) {
    std::promise<decltype(question())> answer;
    loop.post([&] { answer.set_value(question()); });
    return answer.get_future().get();
  }
  /// Whether the condition, asked in the end's turn, comes true in time.
  bool comes(const std::function<bool()>& condition, std::chrono::milliseconds within) {
    const auto end = std::chrono::steady_clock::now() + within;
    while (!ask(condition)) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::sleep_for(2ms);  // real sockets take real time
    }
    return true;
  }
  void queueInfo(std::int64_t n) { std::get<std::uint64_t>(session->transferUserInfo({{"n", n}})); }
  void queueFile(std::int64_t n) {
    const std::string path = folder.path("out");
    std::ofstream(path, std::ios::binary) << contentsOfFile(n);
    std::get<std::uint64_t>(session->transferFile(path, {{"n", n}}));
  }
};

/// A watch and a phone that know each other, over TLS and through a proxy on which things go wrong.
struct SecurePair {
  explicit SecurePair(const Timing& timing = TlsEnd::hasty())
      : watch(Role::watch, timing), phone(Role::phone, timing) {
    watch.meet(phone.identity.keyHash(), 0);
    proxy.emplace(watch.listener->port());
    phone.meet(watch.identity.keyHash(), proxy->port());
    watch.loop.start();
    phone.loop.start();
  }
  bool becomesReachable(std::chrono::milliseconds within) {
    return watch.comes([this] { return watch.session->state().reachable; }, within) &&
           phone.comes([this] { return phone.session->state().reachable; }, within);
  }

  SecureEnd watch;
  SecureEnd phone;
  std::optional<FaultProxy> proxy;
};

}  // namespace tunevale::link
