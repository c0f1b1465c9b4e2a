#pragma once

#include <map>
#include <vector>

#include "link/Delivery.h"
#include "link/FrameWriter.h"

namespace tunevale::link {

/// A message on its way out, with what to do about its end. What it carries is encoded when it is written:
/// only then is it known how much of its time is left.
struct OutgoingMessage {
  PlistValue payload;
  bool isData = false;
  Time deadline{};  // for its answer
  Session::ReplyHandler reply;
  Session::DataReplyHandler dataReply;  // when it is data
  Session::ErrorHandler error;
};

/// Messages and message data, both ways: every one ends in exactly one reply or error. Strand only.
class Messages {
 public:
  Messages(Strand& strand, std::shared_ptr<Mailbox> mailbox, Delivery& delivery, const Timing& timing)
      : strand_(strand), mailbox_(std::move(mailbox)), delivery_(delivery), timing_(timing) {}
  /// What waits for an answer gets the error.
  void failAll(ErrorCode code);

  void send(OutgoingMessage message);
  void fail(OutgoingMessage message, ErrorCode code);
  /// A handler of the other end's message has answered, or not, for that reason. The connection is the one
  /// that brought the message.
  void answer(std::uint64_t connection, std::uint64_t id, const std::optional<PlistDictionary>& answer,
              ErrorCode otherwise);

  /// When this end introduced itself on the new connection, and when it heard of the other: on each end,
  /// messages are dated from the former, and their age is told by the latter.
  void connectionDidOpen(Time introduced, Time peerIntroduced) {
    ++connection_;
    introduced_ = introduced;
    peerIntroduced_ = peerIntroduced;
  }
  void connectionDidClose();
  bool fill(FrameWriter& frames);
  /// Whether so many replies wait to be written that reading should pause.
  bool isBehind() const { return answerBytes_ > kMostUnreadReplyBytes; }
  void didReceiveMessage(const Frame& frame);
  void didReceiveReply(const Frame& frame);
  void didReceiveError(const Frame& frame);

 private:
  struct Answer {
    FrameType type;
    std::uint64_t id;
    Bytes body;
  };
  void finish(std::map<std::uint64_t, OutgoingMessage>::iterator waiting, ErrorCode code);
  void refuse(std::uint64_t id, ErrorCode code);
  /// When a message that has come just now is worth nothing any more; nothing: never.
  std::optional<Time> expiryOf(const PlistDictionary& body) const;
  void expire();
  void watchDeadline();

  Strand& strand_;
  std::shared_ptr<Mailbox> mailbox_;
  Delivery& delivery_;
  const Timing timing_;
  std::uint64_t connection_ = 0;  // answers to an earlier connection's messages go nowhere
  Time introduced_{};
  Time peerIntroduced_{};
  std::uint64_t next_ = 1;
  std::uint64_t nextToWrite_ = 1;
  std::map<std::uint64_t, OutgoingMessage> waiting_;  // by number, and so nearly by deadline
  std::vector<Answer> answers_;
  std::size_t answerBytes_ = 0;
  std::unique_ptr<Timer> deadlineTimer_;
};

}  // namespace tunevale::link
