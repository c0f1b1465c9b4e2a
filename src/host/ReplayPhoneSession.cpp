#include "host/ReplayPhoneSession.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <utility>

#include "foundation/Mutex.h"
#include "host/AtomicFile.h"
#include "link/LinkErrors.h"
#include "platform/PhoneSessionDelegate.h"

namespace tunevale::host {

namespace {

using EventKind = RecordedEvent::Kind;
using std::chrono::nanoseconds;

bool comesFromPhone(EventKind kind) {
  switch (kind) {
    case EventKind::activation:
    case EventKind::state:
    case EventKind::message:
    case EventKind::messageData:
    case EventKind::userInfo:
    case EventKind::context:
    case EventKind::file:
    case EventKind::userInfoFinished:
    case EventKind::unpaired:
      return true;
    default:
      return false;
  }
}

bool isAnswer(EventKind kind) {
  return kind == EventKind::answer || kind == EventKind::dataAnswer || kind == EventKind::failure;
}

std::optional<SessionError> errorOf(const RecordedEvent& event) {
  return event.error.code == 0 ? std::nullopt : std::optional(event.error);
}

SessionError unreachable() {
  const link::Error error = link::makeError(link::ErrorCode::notReachable);
  return {static_cast<int>(error.code), error.description};
}

}  // namespace

struct ReplayPhoneSession::State : std::enable_shared_from_this<State> {
  State(ReplayPhoneSession& session, MainQueue& queue, std::unique_ptr<SerialQueue> deliveryQueue,
        Options given)
      : owner(session),
        mainQueue(queue),
        delivery(std::move(deliveryQueue)),
        options(std::move(given)),
        answered(options.events.size()) {}

  nanoseconds paced(std::chrono::milliseconds pause) const {
    if (options.speed <= 0 || pause.count() <= 0) return nanoseconds(0);
    return nanoseconds(
        static_cast<std::int64_t>(static_cast<double>(nanoseconds(pause).count()) / options.speed));
  }

  /// Brings the next event that is the phone's, in its time. Main queue.
  void goOn() {
    while (next < options.events.size() && !comesFromPhone(options.events[next].kind)) ++next;
    if (next == options.events.size()) {
      if (options.ended) options.ended();
      return;
    }
    const RecordedEvent& event = options.events[next++];
    const auto pause = event.at - std::exchange(last, event.at);
    mainQueue.after(paced(pause), [weak = weak_from_this(), &event] {
      if (const auto self = weak.lock(); self && self->delivery) self->play(event);
    });
  }

  void play(const RecordedEvent& event) {
    if (event.kind == EventKind::state || event.kind == EventKind::unpaired) {
      reachable = event.reachable;  // nothing of the kind once the pairing has ended
      locked = event.locked;
      if (event.kind == EventKind::unpaired) activated = false;
      if (options.changed) options.changed();
      return goOn();
    }
    delivery->async([this, &event] {  // the queue ends before this does
      deliver(event);
      mainQueue.async([weak = weak_from_this()] {
        if (const auto self = weak.lock(); self && self->delivery) self->goOn();
      });
    });
  }

  /// Whether the session was activated at once, with a phone that had paired before.
  bool wasPaired() const {
    const auto first = std::ranges::find(options.events, EventKind::activation, &RecordedEvent::kind);
    return first == options.events.end() || !errorOf(*first);
  }

  void deliver(const RecordedEvent& event) {
    switch (event.kind) {
      case EventKind::activation:
        activated = !errorOf(event);
        return delegate->sessionActivationDidCompleteWithState(owner, owner.activationState(),
                                                               errorOf(event));
      case EventKind::message:
        return delegate->sessionDidReceiveMessage(owner, event.body, [](const PlistDictionary&) {});
      case EventKind::messageData:
        return delegate->sessionDidReceiveMessageData(owner, event.data, [](ByteView) {});
      case EventKind::userInfo:
        return delegate->sessionDidReceiveUserInfo(owner, event.body);
      case EventKind::context:
        return delegate->sessionDidReceiveApplicationContext(owner, event.body);
      case EventKind::file:
        return deliverFile(event);
      case EventKind::userInfoFinished:
        return delegate->sessionDidFinishUserInfoTransfer(owner, {event.body}, errorOf(event));
      default:
        return;
    }
  }

  void deliverFile(const RecordedEvent& event) const {
    if (writeFileAtomically(event.data, options.receivedFile)) return;  // as a phone whose file did not fit
    delegate->sessionDidReceiveFile(owner, {options.receivedFile, event.body});
    std::error_code ignored;  // the extension may have moved it
    std::filesystem::remove(options.receivedFile, ignored);
  }

  /// What the phone answered to a request like this one, the first time that it was not given yet; with how
  /// long it took. Null: nothing.
  const RecordedEvent* answerTo(EventKind kind, const PlistDictionary& body, ByteView data,
                                nanoseconds& delay) {
    const MutexLock lock(mutex);
    for (std::size_t i = 0; i < options.events.size(); ++i) {
      const RecordedEvent& request = options.events[i];
      if (request.kind != kind || answered[i] || request.body != body ||
          !std::ranges::equal(request.data, data))
        continue;
      answered[i] = true;
      for (std::size_t later = i + 1; later < options.events.size(); ++later) {
        const RecordedEvent& answer = options.events[later];
        if (!isAnswer(answer.kind) || answer.id != request.id) continue;
        delay = paced(answer.at - request.at);
        return &answer;
      }
    }
    return nullptr;
  }

  template <class Give>
  void send(EventKind kind, const PlistDictionary& body, ByteView data, Give give,
            ErrorHandler errorHandler) {
    ++pending;
    nanoseconds delay{0};
    const RecordedEvent* answer = answerTo(kind, body, data, delay);
    mainQueue.after(
        delay, [self = shared_from_this(), answer, give = std::move(give), failed = std::move(errorHandler)] {
          if (self->closed) return;
          if (answer != nullptr && answer->kind != EventKind::failure) {
            give(*answer);
          } else if (failed) {
            failed(answer != nullptr ? answer->error : unreachable());
          }
          --self->pending;
        });
  }

  ReplayPhoneSession& owner;
  MainQueue& mainQueue;
  std::unique_ptr<SerialQueue> delivery;
  const Options options;
  PhoneSessionDelegate* delegate = nullptr;
  std::atomic<bool> started = false;
  std::atomic<bool> activated = false;
  std::atomic<bool> reachable = false;
  std::atomic<bool> locked = false;
  std::atomic<bool> closed = false;
  std::atomic<std::size_t> pending = 0;
  std::size_t next = 0;               // main queue
  std::chrono::milliseconds last{0};  // main queue
  Mutex mutex;
  std::vector<bool> answered GUARDED_BY(mutex);
};

ReplayPhoneSession::ReplayPhoneSession(MainQueue& mainQueue, std::unique_ptr<SerialQueue> delivery,
                                       Options options)
    : state_(std::make_shared<State>(*this, mainQueue, std::move(delivery), std::move(options))) {}

ReplayPhoneSession::~ReplayPhoneSession() {
  state_->closed = true;
  state_->delivery.reset();
}

std::size_t ReplayPhoneSession::pendingRequests() const {
  return state_->pending;
}

void ReplayPhoneSession::setDelegate(PhoneSessionDelegate* delegate) {
  state_->delegate = delegate;
}

void ReplayPhoneSession::activateSession() {
  if (state_->delegate == nullptr || state_->started.exchange(true)) return;
  state_->activated = state_->wasPaired();
  state_->mainQueue.async([weak = std::weak_ptr(state_)] {
    if (const auto state = weak.lock(); state && state->delivery) state->goOn();
  });
}

ActivationState ReplayPhoneSession::activationState() const {
  return state_->activated ? ActivationState::activated : ActivationState::notActivated;
}

bool ReplayPhoneSession::isReachable() const {
  return state_->reachable;
}

bool ReplayPhoneSession::iOSDeviceNeedsUnlockAfterRebootForReachability() const {
  return state_->locked;
}

void ReplayPhoneSession::sendMessage(PlistDictionary message, ReplyHandler replyHandler,
                                     ErrorHandler errorHandler) {
  state_->send(
      EventKind::request, message, {},
      [handler = std::move(replyHandler)](const RecordedEvent& answer) {
        if (handler) handler(answer.body);
      },
      std::move(errorHandler));
}

void ReplayPhoneSession::sendMessageData(Bytes data, DataReplyHandler replyHandler,
                                         ErrorHandler errorHandler) {
  state_->send(
      EventKind::dataRequest, {}, data,
      [handler = std::move(replyHandler)](const RecordedEvent& answer) {
        if (handler) handler(answer.data);
      },
      std::move(errorHandler));
}

}  // namespace tunevale::host
