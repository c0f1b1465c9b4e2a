#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "link/Strand.h"
#include "phone/Answer.h"
#include "phone/Events.h"
#include "phone/WatchLink.h"

namespace tunevale::phone {

/// One thing that went over the link.
struct TrafficEntry {
  std::uint64_t number = 0;
  std::int64_t at = 0;  // milliseconds since the phone started
  bool incoming = false;
  std::string_view transport;  // "message", "message_data", "user_info", "context", "file"
  std::string what;
  std::size_t size = 0;
  std::string result;  // "" while it is on its way
};

/// What a thing that is sent is called, and the ref of the command that sends it.
struct Label {
  std::string what;
  std::string ref;
};

/// Sends, and keeps book of both directions: each sending, outcome and request becomes an event and a line of
/// the log.
class Traffic {
 public:
  using Then = WatchLink::Done;
  /// `afterOutcome` is called after each outcome was handled.
  Traffic(link::Strand& strand, WatchLink& link, Events& events, std::function<void()> afterOutcome);

  /// `then` may be empty; it is not called any more once this is destroyed.
  void message(const Label& label, const PlistDictionary& message, Then then = {});
  void messageData(const Label& label, const Bytes& data, Then then = {});
  void userInfo(const Label& label, const PlistDictionary& userInfo, Then then = {});
  void context(const Label& label, const PlistDictionary& context, Then then = {});
  void file(const Label& label, const Bytes& contents, const PlistDictionary& metadata, Then then = {});

  void received(std::string_view transport, const PlistDictionary& body);
  void receivedFile(std::size_t size, const PlistDictionary& metadata);
  void answered(const PlistDictionary& message, const Answer& answer);
  void answered(ByteView data, const DataAnswer& answer);

  /// The latest, oldest first.
  const std::deque<TrafficEntry>& log() const { return log_; }
  /// Rises with each change of the log.
  std::uint64_t changes() const { return changes_; }
  std::int64_t now() const;

 private:
  TrafficEntry& add(bool incoming, std::string_view transport, std::string what, std::size_t size);
  Then sent(const Label& label, std::string_view transport, std::size_t size, Then then);
  void noteReceived(std::string_view transport, std::size_t size, const PlistDictionary& body);
  void finish(std::uint64_t number, const Label& label, const Outcome& outcome);

  link::Strand& strand_;
  WatchLink& link_;
  Events& events_;
  std::function<void()> afterOutcome_;
  link::Time start_;
  std::deque<TrafficEntry> log_;
  std::uint64_t lastNumber_ = 0;
  std::uint64_t changes_ = 0;
  std::shared_ptr<Traffic*> self_;  // gone with this; what is still on its way looks here
};

}  // namespace tunevale::phone
