#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "link/Session.h"
#include "phone/PhoneApp.h"
#include "phone/WatchLink.h"

namespace tunevale::phone {

class PairingClerk;

/// The way to the watch over the paired link, and what comes back. Its session delivers and answers on the
/// strand; so everything here runs there.
class SessionWatchLink : public WatchLink, public link::SessionDelegate {
 public:
  /// `folder`: for files on their way into the session's spool; exists and is this object's alone.
  SessionWatchLink(link::Strand& strand, std::string folder, const link::Timing& timing)
      : strand_(strand), folder_(std::move(folder)), timing_(timing) {}
  /// Before anything else; all outlive every call.
  void connect(link::Session& session, PhoneApp& app, PairingClerk& clerk);

  void sendMessage(const PlistDictionary& message, Done done) override;
  void sendMessageData(const Bytes& data, Done done) override;
  void transferUserInfo(const PlistDictionary& userInfo, Done done) override;
  void updateApplicationContext(const PlistDictionary& context, Done done) override;
  void transferFile(const Bytes& contents, const PlistDictionary& metadata, Done done) override;
  void setActive(bool active) override { session_->setActive(active); }
  void setLocked(bool locked) override { session_->setLocked(locked); }
  void pair(const link::PairingAddress& address) override;
  void answerPairing(std::string_view code, bool yes) override;
  void unpair() override;

 private:
  using Waiting = std::map<std::uint64_t, Done>;
  /// A reply that is withheld until the other end has given up.
  struct Withheld {
    std::function<void()> keep;
    std::unique_ptr<link::Timer> timer;
  };

  void sessionDidReceiveMessage(const PlistDictionary& message, const MessageReply& reply) override;
  void sessionDidReceiveMessageData(ByteView data, const DataReply& reply) override;
  void sessionDidReceiveUserInfo(const PlistDictionary& userInfo) override;
  void sessionDidReceiveApplicationContext(const PlistDictionary& context) override;
  void sessionDidReceiveFile(const std::string& path, const PlistDictionary& metadata) override;
  void sessionDidFinishUserInfoTransfer(std::uint64_t number, const PlistDictionary& userInfo,
                                        const std::optional<link::Error>& error) override;
  void sessionDidFinishFileTransfer(std::uint64_t number, const std::optional<link::Error>& error) override;
  void sessionDidDeliverApplicationContext(std::uint64_t version) override;
  void sessionDidResetQueues() override;
  void sessionDidUnpair() override;
  void sessionStateDidChange(const link::LinkState& state) override;

  void await(Waiting& waiting, const link::Session::Transfer& transfer, Done done);
  void failLater(Done done, const link::Error& error);
  static void finish(Waiting& waiting, std::uint64_t number, const std::optional<link::Error>& error);
  template <class Body, class Reply>
  void give(const AnswerOf<Body>& answer, const Reply& reply);

  link::Strand& strand_;
  const std::string folder_;
  const link::Timing timing_;
  link::Session* session_ = nullptr;
  PhoneApp* app_ = nullptr;
  PairingClerk* clerk_ = nullptr;
  Waiting userInfos_;
  Waiting files_;
  std::multimap<std::uint64_t, Done> contexts_;  // by version
  std::uint64_t delivered_ = 0;
  std::list<Withheld> withheld_;
};

}  // namespace tunevale::phone
