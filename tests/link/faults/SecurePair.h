#pragma once

#include <fstream>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "link/Connector.h"
#include "link/LinkLoop.h"
#include "link/MemoryStore.h"
#include "link/Session.h"
#include "link/SqliteStore.h"
#include "link/TlsDial.h"
#include "link/TlsListener.h"
#include "link/faults/FaultProxy.h"
#include "support/TemporaryFolder.h"

namespace tunevale::link {

/// Keeps what an end hears.
class Notebook : public SessionDelegate {
 public:
  void sessionDidReceiveMessage(const PlistDictionary& message, const MessageReply& reply) override {
    ++messages;
    if (onMessage) {
      onMessage(message, reply);
    } else {
      reply(message);
    }
  }
  void sessionDidReceiveUserInfo(const PlistDictionary& userInfo) override {
    infos.push_back(numberOf(userInfo));
  }
  void sessionDidReceiveApplicationContext(const PlistDictionary& context) override {
    context_ = numberOf(context);
  }
  void sessionDidReceiveFile(const std::string& path, const PlistDictionary& metadata) override {
    std::ifstream file(path, std::ios::binary);
    const std::string contents{std::istreambuf_iterator<char>(file), {}};
    const std::int64_t n = numberOf(metadata);
    if (contents != contentsOf(n)) ++damagedFiles;
    files.push_back(n);
  }
  void sessionDidFinishUserInfoTransfer(std::uint64_t, const PlistDictionary&,
                                        const std::optional<Error>& e) override {
    e ? ++failed : ++finished;
  }
  void sessionDidFinishFileTransfer(std::uint64_t, const std::optional<Error>& e) override {
    e ? ++failed : ++finished;
  }
  void sessionDidResetQueues() override { ++resets; }
  void sessionStateDidChange(const LinkState& state) override {
    told.push_back({state, std::chrono::steady_clock::now()});
  }

  static std::int64_t numberOf(const PlistDictionary& body) {
    const PlistValue* value = body.find("n");
    return value == nullptr ? -1 : value->integer().value_or(-1);
  }
  /// What the file of a number holds; its size goes with the number.
  static std::string contentsOf(std::int64_t n) {
    std::string contents(static_cast<std::size_t>(n * 7919 % 90'000), '\0');
    for (std::size_t i = 0; i < contents.size(); ++i)
      contents[i] = static_cast<char>(i * 31 + static_cast<std::size_t>(n));
    return contents;
  }

  struct Told {
    LinkState state;
    Time at;
  };
  std::function<void(const PlistDictionary&, const MessageReply&)> onMessage;
  std::vector<std::int64_t> infos;
  std::vector<std::int64_t> files;
  std::int64_t context_ = -1;
  std::size_t messages = 0;
  std::size_t damagedFiles = 0;
  std::size_t finished = 0;
  std::size_t failed = 0;
  std::size_t resets = 0;
  std::vector<Told> told;
};

/// One end on a loop of its own, with a store on disk.
struct SecureEnd {
  explicit SecureEnd(Role role, const Timing& timing);
  ~SecureEnd() { loop.stop(); }

  /// Runs a question in the end's turn.
  template <class Question>
  auto ask(Question question) {
    std::promise<decltype(question())> answer;
    loop.post([&] { answer.set_value(question()); });
    return answer.get_future().get();
  }
  /// Whether the condition, asked in the end's turn, comes true in time.
  bool comes(const std::function<bool()>& condition, std::chrono::milliseconds within);
  void queueInfo(std::int64_t n);
  void queueFile(std::int64_t n);

  test::TemporaryFolder folder;
  LinkLoop loop{"secure-end"};
  Identity identity = Identity::temporary();
  SqliteStore store;
  Notebook notes;
  std::optional<Session> session;
};

/// A watch and a phone that know each other, over TLS and through a proxy on which things go wrong.
struct SecurePair {
  /// Reconnects soon, so that many faults fit into little time.
  static Timing hasty();
  explicit SecurePair(const Timing& timing = hasty());
  ~SecurePair();
  bool becomesReachable(std::chrono::milliseconds within);

  SecureEnd watch;
  SecureEnd phone;
  std::optional<TlsListener> listener;
  std::optional<FaultProxy> proxy;
  std::optional<Connector> connector;
};

}  // namespace tunevale::link
