#include "link/Frame.h"

namespace tunevale::link {
namespace {

void appendBigEndian(Bytes& out, std::uint64_t value, int bytes) {
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
    out.push_back(static_cast<std::byte>(value >> shift));
}

}  // namespace

void appendFrame(Bytes& out, const Frame& frame) {
  appendBigEndian(out, frame.body.size(), 4);
  appendBigEndian(out, static_cast<std::uint8_t>(frame.type), 1);
  appendBigEndian(out, frame.flags, 1);
  appendBigEndian(out, 0, 2);
  appendBigEndian(out, frame.id, 8);
  out.insert(out.end(), frame.body.begin(), frame.body.end());
}

}  // namespace tunevale::link
