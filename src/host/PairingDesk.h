#pragma once

#include <functional>

#include "foundation/Mutex.h"
#include "host/PairingControl.h"
#include "link/TlsListener.h"
#include "link/WatchPairing.h"

namespace tunevale::link {
class Session;
class SqliteStore;
}  // namespace tunevale::link

namespace tunevale::host {

/// Everything about who the watch's phone is: pairs, unpairs, keeps the pin, and tells of trouble. Made and
/// destroyed on the strand, or while it does not run.
class PairingDesk : public PairingControl {
 public:
  struct Parts {
    link::Strand& strand;
    link::SqliteStore& store;
    link::KeyHash own;
    link::Timing timing{};
    /// There is a phone, a new one or the same once more. Strand.
    std::function<void()> paired;
    /// The view is another one. Any thread.
    std::function<void()> changed;
    /// A line for the log. Strand.
    std::function<void(const std::string&)> log;
  };
  explicit PairingDesk(Parts parts);
  ~PairingDesk() override;

  /// For a listener, whose connections then come here when they are for pairing.
  link::TlsListener::Rules rules();
  void take(link::SecureStream stream) { pairing_.take(std::move(stream)); }
  /// Once, before the strand runs. `listening`: what the listener took. Both outlive the desk's use.
  void connect(link::Session& session, const link::Endpoint& listening);

  /// What the session knows of its other end. Any thread.
  void peerDidConnect();
  void peerDidUnpair();

  PairingView view() const override;
  std::string open(bool byCode, bool withToken) override;
  void close() override;
  void answer(std::string_view code, bool yes) override;
  std::optional<std::string> unpair() override;
  void dismissTrouble() override;

 private:
  bool pin(const link::KeyHash& peer);
  void statusDidChange(const link::PairingStatus& status);
  void connectionWasRefused(const link::Refused& refused);
  void post(std::function<void()> block);
  /// Changes the view under its lock, and tells of it when it is another one.
  void update(const std::function<void(PairingView&)>& change);

  const Parts parts_;
  link::Session* session_ = nullptr;
  link::Endpoint listening_;
  std::string address_;  // of the window opened last; strand
  std::chrono::system_clock::time_point closesAt_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);  // strand
  mutable Mutex mutex_;
  PairingView view_ GUARDED_BY(mutex_);
  link::WatchPairing pairing_;
};

}  // namespace tunevale::host
