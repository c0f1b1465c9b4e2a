#pragma once

#include <list>

#include "link/Connection.h"
#include "link/Contexts.h"
#include "link/FileReceiver.h"
#include "link/FileSender.h"
#include "link/Items.h"
#include "link/Messages.h"
#include "link/StateReport.h"

namespace tunevale::link {

/// What is behind a Session: holds the connections, hands each frame to whom it concerns, and decides in
/// which order things are sent. Strand only, but for what says otherwise.
class SessionCore : public ConnectionOwner {
 public:
  SessionCore(Strand& strand, LinkStore& store, SessionOptions options, SessionDelegate& delegate,
              Executor deliver, Executor answer, std::shared_ptr<Mailbox> mailbox);
  ~SessionCore() override;

  bool activate();                                            // any thread; false when it was
  bool isActivated() const;                                   // any thread
  LinkState state() const { return report_.current(); }       // any thread
  LinkStore& store() { return store_; }                       // any thread
  const SessionOptions& options() const { return options_; }  // any thread

  /// Until when a message that is sent now is worth something to its sender. Any thread.
  Time replyDeadline() const { return strand_.now() + options_.timing.reply; }

  /// After activate(): tells the delegate when the other end is there, or when it has been waited for,
  /// and then gives it what an earlier process left.
  void beginActivation();
  void send(OutgoingMessage message);
  Messages& messages() { return messages_; }
  Items& items() { return items_; }
  FileSender& files() { return fileSender_; }  // queue(): any thread
  void setActive(bool active);
  void setLocked(bool locked);
  void adopt(std::unique_ptr<Stream> stream, bool opener, Session::Closed closed);
  void disconnect(const std::string& reason);
  /// There may be something to send.
  void wake();
  void payloadWasHandled(const Delivery::Weight& weight);
  /// The store has forgotten the other end; so does the rest, and the other end is told.
  void didUnpair(const LinkStore::Unsent& unsent, bool tellPeer);

 private:
  PlistDictionary introduction() const override;
  const char* objectionTo(const PlistDictionary& introduction) const override;
  void connectionDidOpen(Connection& connection, const PlistDictionary& introduction) override;
  void connectionDidReceive(Connection& connection, const Frame& frame) override;
  bool fill(FrameWriter& frames) override;
  void connectionDidClose(Connection& connection, const std::string& reason) override;

  void completeActivation();
  Objection take(const Frame& frame);
  Objection takeQueueFrame(const Frame& frame);
  Objection takeState(const Frame& frame);
  Objection takeResume(const Frame& frame);
  Objection takeGap(const Frame& frame);
  void sendState();
  void takeUnpair();
  /// Keeps what has come when the reading of this turn is over, and notes what has been handled.
  void keepLater();
  void keep();
  void pauseOrGoOn();
  void report();

  Strand& strand_;
  LinkStore& store_;
  const SessionOptions options_;
  const std::shared_ptr<Spool> spool_;
  Delivery delivery_;
  Messages messages_;
  Items items_;
  Contexts contexts_;
  FileSender fileSender_;
  FileReceiver fileReceiver_;
  StateReport report_;
  std::string run_;
  // Both for as long as the pairing of that moment lasts: its end is a new epoch.
  mutable Mutex activationMutex_;
  std::optional<Epoch> activatedIn_ GUARDED_BY(activationMutex_);
  std::optional<Epoch> completedIn_;
  std::unique_ptr<Timer> activationTimer_;
  std::unique_ptr<Timer> keepTimer_;

  bool active_ = true;
  bool locked_ = false;
  bool peerResumed_ = false;
  bool maySend_ = false;
  bool peerActive_ = false;
  LinkState state_;
  std::list<std::unique_ptr<Connection>> connections_;  // oldest first
  Connection* current_ = nullptr;                       // the one of them that is introduced
};

}  // namespace tunevale::link
