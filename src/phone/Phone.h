#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "foundation/Bytes.h"
#include "link/LinkLimits.h"
#include "link/TcpListener.h"

namespace boost::asio {
class io_context;
}

namespace tunevale::phone {

struct PhoneOptions {
  /// Where the watch listens.
  link::Endpoint watch;
  /// Of artwork colours, downloaded songs and shuffled stations.
  std::uint64_t seed = 1;
  /// Whether it sends of its own accord what a good phone sends, or only what commands say.
  bool pushes = true;
  link::Timing timing{};
};

/// A picture as a web page takes it.
struct ArtworkFile {
  Bytes bytes;
  std::string contentType;
};

/// The reference phone: a small music application of its own, on a thread of its own, that keeps itself
/// connected to a watch. docs/phone.md lists commands and events. Any thread, unless it says otherwise.
class Phone {
 public:
  using Events = std::function<void(const std::string& line)>;

  /// Makes a spool folder below the system's temporary folder. Throws std::runtime_error with a reason of one
  /// line when it cannot, or when the address is no address.
  explicit Phone(PhoneOptions options);
  /// Disconnects and ends the thread. Not on the phone's own thread.
  ~Phone();
  Phone(const Phone&) = delete;
  Phone& operator=(const Phone&) = delete;

  /// Calls a handler with each event, a JSON text of one line, on the phone's thread. Before start().
  void addEventHandler(Events events);
  /// Begins to connect.
  void start();

  /// Carries out one command, a JSON text. One that is malformed becomes an error event.
  void perform(std::string command);
  /// Gives what the console shows, as JSON, on the phone's thread.
  void state(std::function<void(std::string json)> receive);
  /// Gives a picture of the catalogue by its id, on the phone's thread; nothing when there is none.
  void artwork(std::string id, std::function<void(std::optional<ArtworkFile>)> receive);

  /// The phone's own loop, for servers that are to run on its thread.
  boost::asio::io_context& context();
  /// Runs a block on the phone's thread.
  void post(std::function<void()> block);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tunevale::phone
