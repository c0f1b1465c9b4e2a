#include "link/Frame.h"

#include <utility>

namespace tunevale::link {
namespace {

void appendBigEndian(Bytes& out, std::uint64_t value, int bytes) {
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
    out.push_back(static_cast<std::byte>(value >> shift));
}

constexpr std::pair<FrameType, const char*> kNames[] = {{FrameType::hello, "HELLO"},
                                                        {FrameType::helloAck, "HELLO_ACK"},
                                                        {FrameType::state, "STATE"},
                                                        {FrameType::unpair, "UNPAIR"},
                                                        {FrameType::message, "MSG"},
                                                        {FrameType::reply, "REPLY"},
                                                        {FrameType::messageError, "MSG_ERR"},
                                                        {FrameType::resume, "RESUME"},
                                                        {FrameType::item, "ITEM"},
                                                        {FrameType::ack, "ACK"},
                                                        {FrameType::nak, "NAK"},
                                                        {FrameType::gap, "GAP"},
                                                        {FrameType::context, "CTX"},
                                                        {FrameType::contextAck, "CTX_ACK"},
                                                        {FrameType::fileBegin, "FILE_BEGIN"},
                                                        {FrameType::fileData, "FILE_DATA"},
                                                        {FrameType::fileHave, "FILE_HAVE"},
                                                        {FrameType::fileDone, "FILE_DONE"},
                                                        {FrameType::fileError, "FILE_ERR"},
                                                        {FrameType::fileCancel, "FILE_CANCEL"}};

}  // namespace

std::string nameOf(const Frame& frame) {
  std::string name = "type " + std::to_string(static_cast<int>(frame.type));
  for (const auto& [type, word] : kNames) {
    if (type == frame.type) name = word;
  }
  return frame.id == 0 ? name : name + " " + std::to_string(frame.id);
}

void appendFrame(Bytes& out, const Frame& frame) {
  appendBigEndian(out, frame.body.size(), 4);
  appendBigEndian(out, static_cast<std::uint8_t>(frame.type), 1);
  appendBigEndian(out, frame.flags, 1);
  appendBigEndian(out, 0, 2);
  appendBigEndian(out, frame.id, 8);
  out.insert(out.end(), frame.body.begin(), frame.body.end());
}

}  // namespace tunevale::link
