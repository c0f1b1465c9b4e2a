#include <gtest/gtest.h>

#include "link/FrameReader.h"
#include "link/LinkLimits.h"

namespace tunevale::link {
namespace {

Bytes bytes(std::initializer_list<int> values) {
  Bytes out;
  for (const int value : values) out.push_back(static_cast<std::byte>(value));
  return out;
}

TEST(FrameReader, FindsTheSameFramesInPiecesOfAnySize) {
  Bytes stream;
  appendFrame(stream, {FrameType::ping, 0, 1, {}});
  appendFrame(stream, {FrameType::message, kCriticalFrame, 2, Bytes(300, std::byte{7})});
  appendFrame(stream, {FrameType::pong, 0, 3, asBytes("x")});
  for (const std::size_t piece : {1U, 7U, 16U, 17U, 1000U}) {
    FrameReader reader(kMostFrameBody);
    std::vector<std::pair<std::uint64_t, std::size_t>> found;
    for (std::size_t start = 0; start < stream.size(); start += piece) {
      reader.append(ByteView(stream).subspan(start, std::min(piece, stream.size() - start)));
      while (const auto frame = reader.next()) found.emplace_back(frame->id, frame->body.size());
    }
    const decltype(found) expected{{1, 0}, {2, 300}, {3, 1}};
    EXPECT_EQ(found, expected) << "pieces of " << piece;
    EXPECT_EQ(reader.broken(), nullptr);
  }
}

TEST(FrameReader, RefusesWhatIsTooLargeBeforeItComes) {
  FrameReader reader(kMostFrameBodyBeforeHello);
  reader.append(bytes({0, 0, 0x20, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));  // 8193
  EXPECT_FALSE(reader.next());
  ASSERT_NE(reader.broken(), nullptr);
  reader.append(Bytes(9000));
  EXPECT_FALSE(reader.next()) << "a broken stream stays broken";
}

}  // namespace
}  // namespace tunevale::link
