#pragma once

#include <functional>
#include <memory>
#include <string>

#include "link/Endpoint.h"
#include "link/LinkLimits.h"
#include "link/PairingAddress.h"
#include "phone/PhoneApp.h"

namespace boost::asio {
class io_context;
}

namespace tunevale::phone {

struct PhoneOptions {
  link::Endpoint watch;  // where the paired watch listens
  /// Key, pairing and queues are here, for this phone alone; made where it is missing. Empty: in a temporary
  /// folder, which goes with the phone.
  std::string folder{};
  PhoneSettings settings{};
  link::Timing timing{};
};

/// The reference phone on a thread of its own, which keeps itself connected to a watch. docs/phone.md lists
/// commands and events. Any thread, unless it says otherwise.
class Phone {
 public:
  /// Throws std::runtime_error with a reason of one line when the folder cannot be used, or when the address
  /// is no address.
  explicit Phone(PhoneOptions options);
  /// Stops. Not on the phone's own thread.
  ~Phone();
  Phone(const Phone&) = delete;
  Phone& operator=(const Phone&) = delete;

  /// Hears what happens, on the phone's thread. Before start().
  void addObserver(std::shared_ptr<PhoneObserver> observer);
  /// This end's key, and that of the paired watch.
  const link::KeyHash& keyHash() const;
  std::optional<link::KeyHash> watch() const;
  /// Starts the thread, pairs if there is an address for it, and connects, also where pairing failed. Once.
  void start(std::optional<link::PairingAddress> pair = {});
  /// Ends the thread; nothing is heard of the phone any more. Not on its own thread.
  void stop();

  /// Carries out one command, a JSON text. One that is malformed becomes an error event.
  void perform(std::string command, Origin origin);
  /// Makes an error event of a command that could not even be read.
  void reject(std::string why);
  /// Gives what the console shows, as JSON, on the phone's thread. Never when the phone is stopped before.
  void state(std::function<void(std::string json)> receive);
  /// The same at once. Before start().
  std::string firstState() const;

  /// The phone's own loop, for servers that are to run on its thread.
  boost::asio::io_context& context();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tunevale::phone
