#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "link/SessionDelegate.h"
#include "link/Strand.h"
#include "phone/Answer.h"
#include "phone/PhoneObserver.h"
#include "phone/PhoneSettings.h"
#include "phone/WatchLink.h"

namespace tunevale::phone {

class PhoneCore;
struct PairingState;

/// Where a command comes from. The console may not name files of this machine.
enum class Origin { script, console };

/// A command line is at most this long: room for message data of the largest size in base 64.
inline constexpr std::size_t kMostCommandLine = 1536 * 1024;

/// A small phone application: a catalogue, a player, answers for the watch and pushes to it. Has no thread
/// and no socket of its own: everything is called on the strand, which also runs its timers. The link and the
/// observer outlive it. Sends nothing before the first linkStateDidChange() or command().
class PhoneApp {
 public:
  PhoneApp(link::Strand& strand, WatchLink& link, PhoneObserver& observer,
           const PhoneSettings& settings = {});
  ~PhoneApp();

  void linkStateDidChange(const link::LinkState& state);
  void pairingDidChange(const PairingState& pairing);
  void queuesDidReset();

  /// What the watch sent. What the request brings about goes to the link before the answer is given back.
  Answer didReceiveMessage(const PlistDictionary& message);
  DataAnswer didReceiveMessageData(ByteView data);
  void didReceiveUserInfo(const PlistDictionary& userInfo);
  void didReceiveApplicationContext(const PlistDictionary& context);
  /// `size` of the file in bytes.
  void didReceiveFile(std::size_t size, const PlistDictionary& metadata);

  /// Obeys one line of JSON, without its line end. What it cannot make sense of is told in an "error" event.
  void command(std::string_view line, Origin origin);
  /// Reports an error event about a command that could not even be read.
  void rejectCommand(std::string_view why);

  /// One JSON object for the console; docs/phone.md gives its shape.
  std::string consoleState() const;

 private:
  std::unique_ptr<PhoneCore> core_;
};

}  // namespace tunevale::phone
