#include "link/SessionCore.h"

#include <algorithm>
#include <utility>

#include "link/MemoryStore.h"

namespace tunevale::link {
namespace {

constexpr std::int64_t kVersion = 1;
constexpr const char* kCannotKeepMore = "what has come cannot be kept";

const char* name(Role role) {
  return role == Role::watch ? "watch" : "phone";
}

}  // namespace

SessionCore::SessionCore(Strand& strand, LinkStore& store, SessionOptions options, SessionDelegate& delegate,
                         Executor deliver, Executor answer, std::shared_ptr<Mailbox> mailbox)
    : strand_(strand),
      store_(store),
      options_(std::move(options)),
      spool_(options_.spool != nullptr ? options_.spool : folderSpool(options_.spoolFolder)),
      delivery_(mailbox, delegate, std::move(deliver), std::move(answer), options_.log),
      messages_(strand, mailbox, delivery_, options_.timing),
      items_(store, delivery_),
      contexts_(store, delivery_),
      fileSender_(store, delivery_, spool_),
      fileReceiver_(store, delivery_, spool_),
      report_(strand, delivery_, options_.timing.stateSpacing) {
  const Epoch run = newEpoch(strand);
  run_ = asText(run);
  state_.needsUnlock = store.peerIsLocked();
  report_.begin(state_);
}

SessionCore::~SessionCore() {
  messages_.failAll(ErrorCode::sessionInactive);
}

bool SessionCore::activate() {
  const Epoch epoch = store_.epoch();
  const MutexLock lock(activationMutex_);
  return std::exchange(activatedIn_, epoch) != epoch;
}

bool SessionCore::isActivated() const {
  const Epoch epoch = store_.epoch();
  const MutexLock lock(activationMutex_);
  return activatedIn_ == epoch;
}

void SessionCore::beginActivation() {
  if (options_.timing.activation.count() == 0) {
    completeActivation();
  } else if (completedIn_ != store_.epoch()) {
    activationTimer_ = strand_.after(options_.timing.activation, [this] { completeActivation(); });
  }
}

void SessionCore::completeActivation() {
  const Epoch epoch = store_.epoch();
  if (completedIn_ == epoch || !isActivated()) return;
  completedIn_ = epoch;
  activationTimer_.reset();
  delivery_.tell([](SessionDelegate& delegate) { delegate.sessionDidActivate(); });
  contexts_.deliverReceived();
  items_.deliverReceived();
  fileReceiver_.deliverReceived();
  if (store_.takeReadFailure() && options_.log)
    options_.log("Phone link: what had come earlier cannot be read");
  report();
}

void SessionCore::send(OutgoingMessage message) {
  if (!isActivated()) {
    messages_.fail(std::move(message), ErrorCode::notActivated);
  } else if (!state_.reachable) {
    messages_.fail(std::move(message), ErrorCode::notReachable);
  } else {
    messages_.send(std::move(message));
    wake();
  }
}

void SessionCore::setActive(bool active) {
  active_ = active;
  sendState();
}

void SessionCore::setLocked(bool locked) {
  locked_ = locked;
  sendState();
}

void SessionCore::sendState() {
  if (current_ != nullptr) {
    current_->sendFirst(FrameType::state, PlistDictionary{{"active", active_}, {"locked", locked_}});
  }
}

void SessionCore::adopt(std::unique_ptr<Stream> stream, bool opener, Session::Closed closed) {
  if (!isActivated()) {
    stream->close();
    if (closed) closed("the session is not activated", {});
    return;
  }
  const auto strangers = static_cast<std::size_t>(std::count_if(
      connections_.begin(), connections_.end(), [](const auto& one) { return !one->isOpen(); }));
  if (strangers >= kMostStrangers) {
    const auto oldest = std::find_if(connections_.begin(), connections_.end(),
                                     [](const auto& one) { return !one->isOpen(); });
    (*oldest)->close("too many connections wait");
  }
  connections_.push_back(std::make_unique<Connection>(strand_, options_.timing, std::move(stream), opener,
                                                      *this, std::move(closed)));
  connections_.back()->start();
}

void SessionCore::disconnect(const std::string& reason) {
  while (!connections_.empty()) connections_.front()->close(reason);
}

void SessionCore::wake() {
  if (current_ != nullptr) current_->wake();
  pauseOrGoOn();
}

void SessionCore::pauseOrGoOn() {
  if (current_ == nullptr) return;
  if (delivery_.isFull() || messages_.isBehind()) {
    current_->setPaused(true);
  } else if (!delivery_.isHalfFull()) {
    current_->setPaused(false);
  }
}

void SessionCore::payloadWasHandled(const Delivery::Weight& weight) {
  delivery_.handled(weight);
  if (weight.isKept) keepLater();
  if (weight.fileBytes > 0) {
    if (fileReceiver_.makeRoom() != nullptr && current_ != nullptr) current_->close(kCannotKeepMore);
    wake();
  }
  pauseOrGoOn();
}

void SessionCore::keepLater() {
  if (keepTimer_ == nullptr) keepTimer_ = strand_.after({}, [this] { keep(); });
}

void SessionCore::keep() {
  keepTimer_.reset();
  if (!items_.keep() && current_ != nullptr) current_->close(kCannotKeepMore);
  store_.flush();
  wake();
}

void SessionCore::didUnpair(const LinkStore::Unsent& unsent, bool tellPeer) {
  if (current_ != nullptr) {
    if (tellPeer) {
      current_->closeAfter(FrameType::unpair, "the pairing has ended");
    } else {
      current_->close("the pairing has ended");
    }
  }
  std::vector<Connection*> others;
  for (const auto& one : connections_) {
    if (one.get() != current_) others.push_back(one.get());
  }
  for (Connection* one : others) one->close("the pairing has ended");
  items_.forgetAll(unsent.items, ErrorCode::notPaired);
  fileReceiver_.forget();
  fileSender_.forgetAll(unsent.files, ErrorCode::notPaired);
  store_.setPeerLocked(false);  // what it said since is not the next one's
  peerResumed_ = false;
  peerActive_ = false;
  state_ = {};
  report();
  delivery_.tell([](SessionDelegate& delegate) { delegate.sessionDidUnpair(); });
}

void SessionCore::takeUnpair() {
  // Where it cannot be written, the other end's refusals show that something is wrong.
  if (const std::optional<LinkStore::Unsent> unsent = store_.unpair()) {
    didUnpair(*unsent, false);
  } else {
    current_->close(kCannotKeepMore);
  }
}

PlistDictionary SessionCore::introduction() const {
  return {{"version", kVersion},
          {"role", name(options_.role)},
          {"run", asBytes(run_)},
          {"epoch", ByteView(store_.epoch())}};
}

const char* SessionCore::objectionTo(const PlistDictionary& introduction) const {
  const PlistValue* version = introduction.find("version");
  const PlistValue* role = introduction.find("role");
  if (version == nullptr || version->integer() != kVersion) return "another version of the link";
  if (role == nullptr || role->string() != name(options_.role == Role::watch ? Role::phone : Role::watch)) {
    return "not a watch and a phone";
  }
  const auto run = bytesIn(introduction, "run");
  const auto epoch = bytesIn(introduction, "epoch");
  if (!run || run->size() != sizeof(Epoch) || !epoch || epoch->size() != sizeof(Epoch))
    return "no introduction";
  return nullptr;
}

void SessionCore::connectionDidOpen(Connection& connection, const PlistDictionary& introduction) {
  if (current_ != nullptr) current_->close("a newer connection has taken over");
  current_ = &connection;
  messages_.connectionDidOpen(connection.introduced(), connection.opened());
  state_.peerRun = asText(bytesIn(introduction, "run").value_or(ByteView{}));
  sendState();  // first, so that the other end is reachable as soon as it is connected
  const Cursor cursor = store_.cursor();
  PlistDictionary resume{{"epoch", cursor.epoch ? ByteView(*cursor.epoch) : ByteView{}},
                         {"item", asNumber(cursor.nextItem)},
                         {"file", asNumber(cursor.nextFile)},
                         {"context", asNumber(cursor.context)}};
  items_.addRefusals(resume);
  connection.sendFirst(FrameType::resume, resume);
  pauseOrGoOn();
}

void SessionCore::connectionDidReceive(Connection& connection, const Frame& frame) {
  if (&connection != current_) return;
  Objection objection = take(frame);
  if (store_.takeReadFailure()) objection = kCannotKeep;
  if (objection != nullptr) return connection.close(nameOf(frame) + ": " + objection);
  if (items_.hasUnkept()) keepLater();
  wake();
}

bool SessionCore::fill(FrameWriter& frames) {
  if (!peerResumed_) return false;
  if (messages_.fill(frames)) {
    pauseOrGoOn();
    return true;
  }
  if (items_.fillAcknowledgements(frames) || contexts_.fillAcknowledgements(frames) ||
      fileReceiver_.fillAcknowledgements(frames)) {
    return true;
  }
  return maySend_ && (contexts_.fill(frames) || items_.fill(frames) || fileSender_.fill(frames));
}

void SessionCore::connectionDidClose(Connection& connection, const std::string&) {
  const auto place = std::find_if(connections_.begin(), connections_.end(),
                                  [&connection](const auto& one) { return one.get() == &connection; });
  // The connection is still at work: it goes when this turn is over.
  strand_.post([grave = std::shared_ptr<Connection>(std::move(*place))] {});
  connections_.erase(place);
  if (&connection != current_) return;
  current_ = nullptr;
  peerResumed_ = false;
  peerActive_ = false;
  maySend_ = false;
  store_.setSending(false);
  messages_.connectionDidClose();
  items_.connectionDidClose();
  contexts_.connectionDidClose();
  fileSender_.connectionDidClose();
  fileReceiver_.connectionDidClose();
  report();
}

void SessionCore::report() {
  state_.connected = current_ != nullptr && peerResumed_;
  state_.reachable = state_.connected && peerActive_ && !state_.needsUnlock;
  report_.set(state_);
}

}  // namespace tunevale::link
