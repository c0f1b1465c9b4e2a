#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "foundation/PropertyList.h"
#include "link/ManualStrand.h"
#include "link/MemoryStore.h"
#include "link/Session.h"
#include "link/Wire.h"
#include "support/TemporaryFolder.h"

namespace tunevale::link {

/// Keeps what an end hears, one line each, and answers messages as the test says.
class Ear : public SessionDelegate {
 public:
  void sessionDidActivate() override { heard.push_back("activated"); }
  void sessionDidReceiveMessage(const PlistDictionary& message, const MessageReply& reply) override {
    heard.push_back("message " + text(message, "n"));
    if (onMessage) onMessage(message, reply);
  }
  void sessionDidReceiveMessageData(ByteView data, const DataReply& reply) override {
    heard.push_back("data " + std::to_string(data.size()));
    if (onData) onData(data, reply);
  }
  void sessionDidReceiveUserInfo(const PlistDictionary& userInfo) override {
    heard.push_back("info " + text(userInfo, "n"));
    if (onUserInfo) onUserInfo();
  }
  void sessionDidReceiveApplicationContext(const PlistDictionary& context) override {
    heard.push_back("context " + text(context, "n"));
  }
  void sessionDidReceiveFile(const std::string& path, const PlistDictionary& metadata) override {
    std::ifstream file(path, std::ios::binary);
    files.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    heard.push_back("file " + text(metadata, "n"));
  }
  void sessionDidFinishUserInfoTransfer(std::uint64_t number, const PlistDictionary&,
                                        const std::optional<Error>& error) override {
    finished.push_back("info " + std::to_string(number) + outcome(error));
  }
  void sessionDidFinishFileTransfer(std::uint64_t number, const std::optional<Error>& error) override {
    finished.push_back("file " + std::to_string(number) + outcome(error));
  }
  void sessionDidDeliverApplicationContext(std::uint64_t version) override { delivered = version; }
  void sessionDidResetQueues() override { heard.push_back("reset"); }
  void sessionDidUnpair() override { heard.push_back("unpaired"); }
  void sessionStateDidChange(const LinkState& state) override { states.push_back(state); }

  static std::string text(const PlistDictionary& body, const char* key) {
    const PlistValue* value = body.find(key);
    return value == nullptr ? "?" : std::to_string(value->integer().value_or(-1));
  }
  static std::string outcome(const std::optional<Error>& error) {
    return error ? " " + std::to_string(static_cast<int>(error->code)) : " ok";
  }

  std::function<void(const PlistDictionary&, const MessageReply&)> onMessage;
  std::function<void(ByteView, const DataReply&)> onData;
  std::function<void()> onUserInfo;
  std::vector<std::string> heard;
  std::vector<std::string> finished;
  std::vector<std::string> files;
  std::vector<LinkState> states;
  std::uint64_t delivered = 0;
};

/// One end with all that it needs. What arrives can be held back, as a slow handler would.
struct End {
  End(ManualStrand& where, Role which, Timing times = {})
      : strand(where), role(which), timing(times), store(newEpoch(where)) {
    begin(store);
  }
  /// A new process, not yet activated, with what `from` has kept.
  void begin(LinkStore& from) {
    ear = {};
    held.clear();
    session.emplace(
        strand, from,
        SessionOptions{
            role, spool.path(), timing, {}, [this](const std::string& line) { log.push_back(line); }},
        ear, [this](Block block) { deliver(std::move(block)); },
        [this](Block block) { strand.post(std::move(block)); });
  }
  void deliver(Block block) {
    if (holding) return held.push_back(std::move(block));
    strand.post(std::move(block));
  }
  void release() {
    holding = false;
    for (Block& block : std::exchange(held, {})) strand.post(std::move(block));
  }
  /// Sends {"n": n}; the outcome ("reply 7", or an error's number) goes to `outcomes`.
  void send(int n) {
    session->sendMessage(
        {{"n", n}},
        [this](const PlistDictionary& reply) { outcomes.push_back("reply " + Ear::text(reply, "n")); },
        [this](const Error& error) { outcomes.push_back(std::to_string(static_cast<int>(error.code))); });
  }

  ManualStrand& strand;
  const Role role;
  const Timing timing;
  test::TemporaryFolder spool;
  MemoryStore store;
  Ear ear;
  bool holding = false;
  std::vector<Block> held;
  std::vector<std::string> outcomes;
  std::vector<std::string> log;
  std::optional<Session> session;
};

/// A watch and a phone, activated, on one strand.
template <class AnEnd>
struct WorldOf {
  explicit WorldOf(std::uint64_t seed = 1, Timing timing = {})
      : strand(seed), watch(strand, Role::watch, timing), phone(strand, Role::phone, timing) {
    watch.session->activate();
    phone.session->activate();
    phone.ear.onMessage = [](const PlistDictionary& message, const auto& reply) { reply(message); };
    strand.run();
  }
  /// A new wire between the two; returns at once, run() lets it introduce the ends.
  Wire& connect(Wire::Faults faults = {}) {
    wires.push_back(std::make_unique<Wire>(strand, faults));
    watch.session->adopt(wires.back()->takeSecond(), false);
    phone.session->adopt(wires.back()->takeFirst(), true);
    return *wires.back();
  }
  Wire& connectAndRun() {
    Wire& wire = connect();
    strand.run();
    return wire;
  }

  ManualStrand strand;
  std::vector<std::unique_ptr<Wire>> wires;
  AnEnd watch;
  AnEnd phone;
};

using LinkWorld = WorldOf<End>;

using Lines = std::vector<std::string>;

}  // namespace tunevale::link
