#pragma once

#include <memory>
#include <variant>

#include "foundation/Bytes.h"
#include "foundation/Mutex.h"
#include "link/LinkLimits.h"
#include "link/LinkStore.h"
#include "link/Role.h"
#include "link/SessionDelegate.h"
#include "link/Strand.h"
#include "link/Stream.h"

namespace tunevale::link {

class Mailbox;
struct OutgoingMessage;
class SessionCore;
class Spool;

/// Runs blocks one at a time, first in first out, never inside the call.
using Executor = std::function<void(Block)>;

struct SessionOptions {
  Role role = Role::watch;
  /// Received files and copies of files to send lie here, this session's alone; made where it is missing. It
  /// belongs to the store: what a former session left in it and the store does not know is removed.
  std::string spoolFolder;
  Timing timing;
  std::shared_ptr<Spool> spool{};  // in the place of the folder, for tests
  /// A line for whoever runs this end: a handler has failed for good. Any thread; may be empty.
  std::function<void(const std::string&)> log{};
};

/// One end of the paired link. Operations may be called from any thread and return at once, unless they say
/// otherwise. It is made and destroyed on the strand, or while the strand does not run; what waits for an
/// answer then gets error 7016.
class Session {
 public:
  using ReplyHandler = std::function<void(const PlistDictionary& reply)>;
  using DataReplyHandler = std::function<void(ByteView reply)>;
  using ErrorHandler = std::function<void(const Error& error)>;
  /// The number of a queued transfer, or why it was not queued.
  using Transfer = std::variant<std::uint64_t, Error>;

  /// `deliver` carries what arrives to the delegate; `answer` carries replies, errors and the state. The
  /// delegate and the store live as long as both may run.
  Session(Strand& strand, LinkStore& store, SessionOptions options, SessionDelegate& delegate,
          Executor deliver, Executor answer);
  ~Session();

  /// Begins to take connections. Its completion comes to the delegate before anything else does: once the
  /// other end is there, or after `timing.activation`. Once for each pairing, with whose end it ends: until
  /// the next call the session is as it was before the first.
  void activate();
  bool isActivated() const;
  LinkState state() const;

  /// Exactly one of the handlers (either may be empty) is called, once, by the answer executor. Messages and
  /// message data arrive in the order of the calls. Never sent again by themselves.
  void sendMessage(const PlistDictionary& message, ReplyHandler reply, ErrorHandler error);
  void sendMessageData(ByteView data, DataReplyHandler reply, ErrorHandler error);
  /// Arrives once, in order, however long it takes. Errors 7004, 7009, 7010 (nested deeper than 64, or 63
  /// inside a message or beside a file), 7015; so do the other three.
  Transfer transferUserInfo(const PlistDictionary& userInfo);
  /// The same among files; the file is copied before this returns. Errors 7008 (no path) and 7013 too.
  Transfer transferFile(const std::string& path, const PlistDictionary& metadata);
  void cancelUserInfo(std::uint64_t number);
  void cancelFile(std::uint64_t number);
  /// The latest wins; one that is equal byte for byte changes nothing. Gives its version.
  Transfer updateApplicationContext(const PlistDictionary& context);

  /// Whether this end takes messages, and whether it waits to be unlocked. True and false at first.
  void setActive(bool active);
  void setLocked(bool locked);

  /// Takes a connected stream; `opener`: this end made the connection and introduces itself first. The newest
  /// one that introduces itself well replaces the one before. Strand only.
  using Closed = std::function<void(const std::string& reason, Duration openFor)>;
  void adopt(std::unique_ptr<Stream> stream, bool opener, Closed closed = {});
  /// Ends the pairing on this end, at once and for good, and on the other where it can be reached: pin,
  /// queues, cursors and the activation go. The connection closes within a second. Error 7015 when it cannot
  /// be written: then nothing has changed. Any thread.
  std::optional<Error> unpair();
  /// The store has paired with another end, in the place of the one before where `former` says so: that
  /// pairing ends here, and on that end where it can be reached. In the same turn of the strand.
  void pinDidChange(const LinkStore::Unsent& former);
  /// Says goodbye and closes what is open; a connector may bring another. Strand only.
  void disconnect(const std::string& reason);

 private:
  void send(OutgoingMessage message);
  void wake();

  Mutex contextMutex_;  // between comparing a context and keeping it
  std::shared_ptr<Mailbox> mailbox_;
  std::unique_ptr<SessionCore> core_;
};

}  // namespace tunevale::link
