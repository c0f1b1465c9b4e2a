#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "link/LinkWorld.h"
#include "link/RawPeer.h"

// What a watch takes from a phone that is introduced and then says anything. The input is a run of frames:
// type, flags, id, body length (two bytes), body; with an odd first byte, it is the bytes of the stream
// themselves. Whatever comes, time must pass without a crash and a good phone must get through afterwards.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tunevale;
  using namespace tunevale::link;
  if (size == 0) return 0;
  ByteView input = std::as_bytes(std::span(data, size));
  const bool raw = (data[0] & 1) != 0, introduces = (data[0] & 2) == 0;
  input = input.subspan(1);

  LinkWorld world;
  world.watch.ear.onMessage = [](const PlistDictionary& message, const auto& reply) { reply(message); };
  world.watch.session->transferUserInfo({{"n", 1}});
  world.watch.session->updateApplicationContext({{"n", 1}});
  {
    RawPeer peer(world.strand, world.watch, introduces);
    world.watch.send(1);
    if (raw) {
      peer.sendBytes(Bytes(input.begin(), input.end()));
    } else {
      while (input.size() >= 5) {
        const auto length =
            (std::to_integer<std::size_t>(input[3]) << 8) | std::to_integer<std::size_t>(input[4]);
        const ByteView body = input.subspan(5, std::min(length, input.size() - 5));
        peer.send(static_cast<FrameType>(input[0]), std::to_integer<std::uint64_t>(input[2]), body,
                  std::to_integer<std::uint8_t>(input[1]));
        input = input.subspan(5 + body.size());
      }
    }
    world.strand.advance(std::chrono::seconds(20));
  }
  world.strand.run();
  // A phone that unpairs ends the activation; the next one comes with the next pairing.
  world.watch.session->activate();
  world.connectAndRun();
  world.watch.send(2);
  world.strand.advance(std::chrono::seconds(1));
  if (world.watch.outcomes.size() != 2 || world.watch.outcomes.back() != "reply 2") __builtin_trap();
  return 0;
}
