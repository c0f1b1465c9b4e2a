#include "host/LinkPhoneSession.h"

#include <atomic>

#include "host/LinkRecording.h"
#include "host/PairingDesk.h"
#include "link/LinkLoop.h"
#include "link/Session.h"
#include "link/SqliteStore.h"
#include "link/TlsListener.h"
#include "platform/PhoneSessionDelegate.h"

namespace tunevale::host {
namespace {

SessionError platformError(const link::Error& error) {
  return {static_cast<int>(error.code), error.description};
}

/// Hands on to the platform's delegate. Blocks on the queues keep it, so it may outlive the session.
class Receiver : public link::SessionDelegate {
 public:
  explicit Receiver(PhoneSession& session) : session_(session) {}

  void activationDidFail(link::ErrorCode why) {
    delegate->sessionActivationDidCompleteWithState(session_, ActivationState::notActivated,
                                                    platformError(link::makeError(why)));
  }
  void sessionDidActivate() override {
    delegate->sessionActivationDidCompleteWithState(session_, ActivationState::activated, std::nullopt);
  }
  void sessionDidReceiveMessage(const PlistDictionary& message, const MessageReply& reply) override {
    delegate->sessionDidReceiveMessage(session_, message, reply);
  }
  void sessionDidReceiveMessageData(ByteView data, const DataReply& reply) override {
    delegate->sessionDidReceiveMessageData(session_, data, reply);
  }
  void sessionDidReceiveUserInfo(const PlistDictionary& userInfo) override {
    delegate->sessionDidReceiveUserInfo(session_, userInfo);
  }
  void sessionDidReceiveApplicationContext(const PlistDictionary& context) override {
    delegate->sessionDidReceiveApplicationContext(session_, context);
  }
  void sessionDidReceiveFile(const std::string& path, const PlistDictionary& metadata) override {
    delegate->sessionDidReceiveFile(session_, {path, metadata});
  }
  void sessionDidFinishUserInfoTransfer(std::uint64_t, const PlistDictionary& userInfo,
                                        const std::optional<link::Error>& error) override {
    delegate->sessionDidFinishUserInfoTransfer(session_, {userInfo},
                                               error ? std::optional(platformError(*error)) : std::nullopt);
  }
  void sessionDidFinishFileTransfer(std::uint64_t number, const std::optional<link::Error>& error) override {
    note({.kind = RecordedEvent::Kind::fileFinished,
          .id = number,
          .error = error ? platformError(*error) : SessionError{}});
  }
  void sessionDidResetQueues() override {
    note({.kind = RecordedEvent::Kind::queueReset});
    if (log) log("Phone link: queue reset; what the phone had queued before may be gone");
  }
  void sessionDidUnpair() override {
    note({.kind = RecordedEvent::Kind::unpaired});
    if (!closed) desk->peerDidUnpair();
  }
  void sessionStateDidChange(const link::LinkState& state) override {
    if (closed) return;
    if (state.connected) desk->peerDidConnect();
    if (changed) changed();
  }

  PhoneSessionDelegate* delegate = nullptr;  // set before anything is delivered
  PairingDesk* desk = nullptr;               // the same; lives until this is closed
  std::function<void()> changed;
  std::function<void(const std::string&)> log;
  std::function<void(const RecordedEvent&)> happened;
  std::atomic<bool> closed = false;
  std::atomic<std::size_t> pending = 0;

 private:
  void note(const RecordedEvent& event) const {
    if (happened) happened(event);
  }

  PhoneSession& session_;
};

link::Epoch newEpoch() {
  link::Epoch epoch{};
  link::fillRandom(epoch);
  return epoch;
}

/// Counts a request until its one handler has run.
template <class Handler>
auto counted(const std::shared_ptr<Receiver>& receiver, Handler handler) {
  return [receiver, handler = std::move(handler)](const auto& answer) {
    if (handler) handler(answer);
    --receiver->pending;
  };
}

}  // namespace

struct LinkPhoneSession::Parts {
  Parts(PhoneSession& phoneSession, MainQueue& main, std::unique_ptr<SerialQueue> delivery, Options options)
      : mainQueue(main),
        patience(options.timing.activation),
        receiver(std::make_shared<Receiver>(phoneSession)),
        identity(link::Identity::loadOrCreate(options.folder)),
        store({.path = options.folder + "/link.sqlite", .vfs = {}}, newEpoch()),
        desk({.strand = loop,
              .store = store,
              .own = identity.keyHash(),
              .timing = options.timing,
              .paired =
                  [this] {
                    if (started && store.pin()) session->activate();
                  },
              .changed = [this] { tellChange(); },
              .log = options.log ? options.log : [](const std::string&) {}}),
        listener(loop, options.listenOn, identity, desk.rules()),
        queue(std::move(delivery)),
        session(
            std::in_place, loop, store,
            link::SessionOptions{.role = link::Role::watch,
                                 .spoolFolder = options.folder + "/Spool",
                                 .timing = options.timing,
                                 .log = options.log},
            *receiver,
            [this](Block block) {
              // At the end the session may still have something, which is kept for the next run.
              if (queue) queue->async(std::move(block));
            },
            [&main, held = receiver](Block block) {
              main.async([held, block = std::move(block)] { block(); });
            }) {
    receiver->desk = &desk;
    receiver->log = options.log;
    receiver->happened = options.happened;
    desk.connect(*session, {options.listenOn.host, listener.port()});
  }

  /// Pairing goes on before the session is activated, and is heard of by whoever listens then.
  void tellChange() {
    mainQueue.async([held = receiver] {
      if (!held->closed && held->changed) held->changed();
    });
  }
  /// On the loop. A phone that is about to pair, as the demo's is, is waited for.
  void start() {
    listener.start([this](link::SecureStream stream) { take(std::move(stream)); });
    if (session->isActivated()) return;
    unpairedTimer = loop.after(patience, [this] {
      if (session->isActivated()) return;
      queue->async([held = receiver] { held->activationDidFail(link::ErrorCode::notPaired); });
    });
  }
  void take(link::SecureStream stream) {
    if (stream.isPairing) return desk.take(std::move(stream));
    session->adopt(std::move(stream.stream), false);
  }

  MainQueue& mainQueue;
  const link::Duration patience;
  std::atomic<bool> started = false;  // activateSession() was called
  const std::shared_ptr<Receiver> receiver;
  link::LinkLoop loop{"link"};
  const link::Identity identity;
  link::SqliteStore store;
  PairingDesk desk;
  link::TlsListener listener;
  std::unique_ptr<SerialQueue> queue;
  std::optional<link::Session> session;
  std::unique_ptr<link::Timer> unpairedTimer;
};

LinkPhoneSession::LinkPhoneSession(MainQueue& mainQueue, std::unique_ptr<SerialQueue> delivery,
                                   Options options)
    : parts_(std::make_unique<Parts>(*this, mainQueue, std::move(delivery), std::move(options))) {
  parts_->loop.start();
}

LinkPhoneSession::~LinkPhoneSession() {
  parts_->receiver->closed = true;
  parts_->loop.stop();
  parts_->queue.reset();
  parts_->session.reset();
}

std::uint16_t LinkPhoneSession::port() const {
  return parts_->listener.port();
}

LinkPhoneSession::State LinkPhoneSession::state() const {
  const link::LinkState state = parts_->session->state();
  return {parts_->session->isActivated(), state.reachable, state.needsUnlock};
}

PairingControl& LinkPhoneSession::pairing() {
  return parts_->desk;
}

const link::KeyHash& LinkPhoneSession::keyHash() const {
  return parts_->identity.keyHash();
}

void LinkPhoneSession::setChangeHandler(std::function<void()> handler) {
  parts_->receiver->changed = std::move(handler);
}

std::size_t LinkPhoneSession::pendingRequests() const {
  return parts_->receiver->pending;
}

void LinkPhoneSession::setDelegate(PhoneSessionDelegate* delegate) {
  parts_->receiver->delegate = delegate;
}

void LinkPhoneSession::activateSession() {
  if (parts_->receiver->delegate == nullptr || parts_->started.exchange(true)) return;
  if (parts_->store.pin()) parts_->session->activate();
  parts_->loop.post([parts = parts_.get()] { parts->start(); });
}

ActivationState LinkPhoneSession::activationState() const {
  return parts_->session->isActivated() ? ActivationState::activated : ActivationState::notActivated;
}

bool LinkPhoneSession::isReachable() const {
  return parts_->session->state().reachable;
}

bool LinkPhoneSession::iOSDeviceNeedsUnlockAfterRebootForReachability() const {
  return parts_->session->state().needsUnlock;
}

void LinkPhoneSession::sendMessage(PlistDictionary message, ReplyHandler replyHandler,
                                   ErrorHandler errorHandler) {
  ++parts_->receiver->pending;
  parts_->session->sendMessage(message, counted(parts_->receiver, std::move(replyHandler)),
                               [failed = counted(parts_->receiver, std::move(errorHandler))](
                                   const link::Error& error) { failed(platformError(error)); });
}

void LinkPhoneSession::sendMessageData(Bytes data, DataReplyHandler replyHandler, ErrorHandler errorHandler) {
  ++parts_->receiver->pending;
  parts_->session->sendMessageData(data, counted(parts_->receiver, std::move(replyHandler)),
                                   [failed = counted(parts_->receiver, std::move(errorHandler))](
                                       const link::Error& error) { failed(platformError(error)); });
}

}  // namespace tunevale::host
