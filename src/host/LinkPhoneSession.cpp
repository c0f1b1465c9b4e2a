#include "host/LinkPhoneSession.h"

#include <atomic>

#include "link/LinkLoop.h"
#include "link/MemoryStore.h"
#include "link/Session.h"
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
  void sessionStateDidChange(const link::LinkState&) override {
    if (!closed && changed) changed();
  }

  PhoneSessionDelegate* delegate = nullptr;  // set before anything is delivered
  std::function<void()> changed;
  std::atomic<bool> closed = false;
  std::atomic<std::size_t> pending = 0;

 private:
  PhoneSession& session_;
};

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
  Parts(PhoneSession& phoneSession, MainQueue& mainQueue, std::unique_ptr<SerialQueue> delivery,
        Options options)
      : receiver(std::make_shared<Receiver>(phoneSession)),
        listener(loop, options.listenOn),
        queue(std::move(delivery)),
        session(
            std::in_place, loop, store,
            link::SessionOptions{link::Role::watch, options.spoolFolder, options.timing}, *receiver,
            [this](Block block) { queue->async(std::move(block)); },
            [&mainQueue, held = receiver](Block block) {
              mainQueue.async([held, block = std::move(block)] { block(); });
            }) {}

  const std::shared_ptr<Receiver> receiver;
  link::LinkLoop loop{"link"};
  link::MemoryStore store{link::newEpoch(loop)};
  link::TcpListener listener;
  std::unique_ptr<SerialQueue> queue;
  std::optional<link::Session> session;
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
  if (parts_->receiver->delegate == nullptr || parts_->session->isActivated()) return;
  parts_->session->activate();
  parts_->loop.post([parts = parts_.get()] {
    parts->listener.start(
        [parts](std::unique_ptr<link::Stream> stream) { parts->session->adopt(std::move(stream), false); });
  });
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
