#include "apps/watch/Demo.h"

#include <optional>

#include "host/LinkPhoneSession.h"
#include "host/PairingControl.h"
#include "host/RunLoop.h"
#include "host/WatchDisplay.h"
#include "link/PairingAddress.h"
#include "phone/Console.h"
#include "phone/Phone.h"

namespace tunevale {

struct Demo::Parts {
  Parts(phone::PhoneOptions options, host::RunLoop& loop, host::WatchDisplay& display)
      : phone(std::move(options)),
        console(phone, display.server(), loop.context(), std::string(TUNEVALE_RESOURCES) + "/web") {}
  phone::Phone phone;
  phone::Console console;
};

Demo::Demo(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}

Demo::~Demo() = default;

std::unique_ptr<Demo> Demo::start(host::RunLoop& loop, host::WatchDisplay& display,
                                  host::LinkPhoneSession& session, const std::string& linkHost,
                                  const std::string& folder) {
  auto parts = std::make_unique<Parts>(
      phone::PhoneOptions{.watch = {linkHost, session.port()}, .folder = folder}, loop, display);
  const auto paired = session.pairing().view().peer;
  if (paired && *paired != parts->phone.keyHash()) return nullptr;
  std::optional<link::PairingAddress> address;
  if (!paired || parts->phone.watch() != session.keyHash()) {
    address = link::parsePairingAddress(session.pairing().open(false, true));
    // It is in here, wherever others would find the watch.
    if (address) address->endpoint = {linkHost, session.port()};
  }
  parts->phone.start(address);
  return std::unique_ptr<Demo>(new Demo(std::move(parts)));
}

}  // namespace tunevale
