#pragma once

#include "link/FrameReader.h"
#include "link/FrameWriter.h"
#include "link/LinkWorld.h"

namespace tunevale::link {

/// A phone that speaks frames by hand, right or wrong, to one end.
class RawPeer : public StreamReceiver {
 public:
  struct Received {
    FrameType type;
    std::uint64_t id;
    PlistDictionary body;
  };

  /// `introduces`: goes through the introduction, with numbers of queues that are not the end's.
  RawPeer(ManualStrand& strand, End& end, bool introduces = true)
      : wire_(strand), stream_(wire_.takeFirst()) {
    stream_->start(*this);
    end.session->adopt(wire_.takeSecond(), false);
    if (!introduces) return;
    send(FrameType::hello, 0, introduction("phone"));
    send(FrameType::resume, 0,
         PlistDictionary{{"epoch", ByteView{}}, {"item", 1}, {"file", 1}, {"context", 7}});
    send(FrameType::state, 0, PlistDictionary{{"active", true}, {"locked", false}});
    send(FrameType::gap, 0, PlistDictionary{{"epoch", Bytes(16, std::byte{5})}, {"item", 1}, {"file", 1}});
    strand.run();
  }

  static PlistDictionary introduction(const char* role) {
    return {
        {"version", 1}, {"role", role}, {"run", Bytes(16, std::byte{3})}, {"epoch", Bytes(16, std::byte{5})}};
  }

  void send(FrameType type, std::uint64_t id, ByteView body, std::uint8_t flags = kCriticalFrame) {
    Bytes bytes;
    appendFrame(bytes, {type, flags, id, body});
    stream_->write(std::move(bytes));
  }
  void send(FrameType type, std::uint64_t id, const PlistDictionary& body) {
    send(type, id, writePropertyList(body));
  }
  void sendBytes(Bytes bytes) { stream_->write(std::move(bytes)); }
  void setReading(bool reading) { stream_->setReading(reading); }
  /// The last frame of a type; an empty one when there was none.
  Received last(FrameType type) const {
    const auto found =
        std::find_if(frames.rbegin(), frames.rend(), [type](const auto& one) { return one.type == type; });
    return found == frames.rend() ? Received{type, 0, {}} : *found;
  }
  /// A frame that says no: "7 7010" is number 7 with that code; "0 0" when there was none.
  std::string refusal(FrameType type) const {
    return std::to_string(last(type).id) + " " + std::to_string(numberIn(last(type).body, "code"));
  }
  std::string goodbye() const {
    const PlistValue* reason = last(FrameType::bye).body.find("reason");
    return reason == nullptr ? "" : std::string(reason->string().value_or(""));
  }

  std::vector<Received> frames;
  bool ended = false;

 private:
  void streamDidRead(ByteView bytes) override {
    reader_.append(bytes);
    while (const auto frame = reader_.next()) {
      const auto body = readPropertyList(frame->body);
      frames.push_back({frame->type, frame->id,
                        body && body->dictionary() != nullptr ? *body->dictionary() : PlistDictionary{}});
    }
  }
  void streamDidWrite() override {}
  void streamDidEnd(const std::string&) override { ended = true; }

  Wire wire_;
  std::unique_ptr<Stream> stream_;
  FrameReader reader_{kMostFrameBody};
};

}  // namespace tunevale::link
