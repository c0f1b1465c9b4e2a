#include <cstddef>
#include <cstdint>

#include "link/FrameWriter.h"
#include "link/ManualStrand.h"
#include "link/PairingAddress.h"
#include "link/WatchPairing.h"
#include "link/Wire.h"

namespace {

using namespace tunevale;
using namespace tunevale::link;

/// A phone that must not pin, whatever the other end says: its user never says yes.
struct CarefulPhone : PairingOwner {
  std::optional<std::string> objectionToAttempt(PairingExchange&, bool) override { return std::nullopt; }
  bool takeToken(const std::function<bool(const PairingToken&)>&) override { return false; }
  void compare(const std::string& code) override {
    if (code.size() != 6) __builtin_trap();
  }
  bool pin(const KeyHash&) override { __builtin_trap(); }
  void exchangeDidEnd(PairingExchange&, PairingOutcome, const std::string&) override { ended = true; }
  bool ended = false;
};

void say(Stream& stream, ByteView input, bool raw) {
  if (raw) return stream.write({input.begin(), input.end()});
  // Type, flags, body length, body; a body of 32 bytes becomes what a sound frame of that type holds.
  Bytes bytes;
  while (input.size() >= 3) {
    const auto type = static_cast<FrameType>(0x50 + (std::to_integer<unsigned>(input[0]) & 7U));
    const ByteView body =
        input.subspan(3, std::min(std::to_integer<std::size_t>(input[2]), input.size() - 3));
    if (body.size() == 32) {
      const bool proves = type == FrameType::pairProof || type == FrameType::pairToken;
      const char* key = type == FrameType::pairCommit ? "commit"
                        : type == FrameType::pairFail ? "reason"
                                                      : "nonce";
      FrameWriter(bytes).add(type, 0, PlistDictionary{{proves ? "proof" : key, body}});
    } else {
      appendFrame(bytes, {type, std::to_integer<std::uint8_t>(input[1]), 0, body});
    }
    input = input.subspan(3 + body.size());
  }
  stream.write(std::move(bytes));
}

}  // namespace

// What either end takes from a stranger on a connection for pairing. Nobody says yes and nobody knows the
// token, so nothing may be pinned; and it must be over once its time is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const ByteView input = std::as_bytes(std::span(data, size)).subspan(1);
  const bool toWatch = (data[0] & 1) != 0, raw = (data[0] & 2) != 0;
  static_cast<void>(parsePairingAddress(asText(input)));

  ManualStrand strand;
  Wire wire(strand);
  Deaf deaf;
  const KeyHash watchKey{std::byte{1}}, phoneKey{std::byte{2}};
  auto stranger = wire.takeFirst();
  stranger->start(deaf);
  SecureStream attacked{wire.takeSecond(), toWatch ? phoneKey : watchKey, true, {}};
  if (toWatch) {
    WatchPairing watch(strand, watchKey, {[](const KeyHash&) -> bool { __builtin_trap(); }, {}});
    watch.open(true, WatchPairing::newToken());
    watch.take(std::move(attacked));
    say(*stranger, input, raw);
    strand.advance(std::chrono::seconds(130));
    if (watch.isOpen()) __builtin_trap();
  } else {
    CarefulPhone phone;
    PairingExchange::Options options{Role::phone, phoneKey, {}, {}};
    if ((data[0] & 4) != 0) options.token = WatchPairing::newToken();
    PairingExchange exchange(strand, std::move(attacked), options, phone);
    exchange.start();
    say(*stranger, input, raw);
    strand.advance(std::chrono::seconds(130));
    if (!phone.ended) __builtin_trap();
  }
  return 0;
}
