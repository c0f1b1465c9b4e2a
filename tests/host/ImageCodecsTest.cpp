#include <random>

#include <gtest/gtest.h>

#include "host/ImageCodecs.h"
#include "host/PngAssembly.h"
#include "support/Pictures.h"

namespace tunevale::host {
namespace {

using namespace test;
using Pixels = std::vector<std::uint8_t>;

ImageCodecs codecs;

Pixels pixelsOf(ByteView file) {
  const ImagePtr image = codecs.imageWithData(file);
  return image ? image->pixels : Pixels();
}

TEST(Png, EncodesNoImageThatItCouldNotReadAgain) {
  Pixels noise;
  std::minstd_rand random;
  for (int i = 0; i < 1200 * 1000 * 4; ++i) noise.push_back(static_cast<std::uint8_t>(random() >> 8));
  EXPECT_FALSE(codecs.pngRepresentation({1200, 1000, noise, 0}));
  EXPECT_FALSE(codecs.pngRepresentation({2, 2, Pixels(15), 0}));
  EXPECT_FALSE(codecs.pngRepresentation({0, 0, {}, 0}));
  EXPECT_FALSE(codecs.pngRepresentation({4096, 1, Pixels(4096 * 4), 0}));
}

TEST(Png, ReadsEveryColourTypeAndDepth) {
  const struct {
    Bytes header;
    Bytes rows;  // each after its filter's number, 0 for none
    Pixels pixels;
  } cases[] = {
      {pngHeader(2, 1, 1, 0), bytesOf({0, 0x40}), {0, 0, 0, 255, 255, 255, 255, 255}},
      {pngHeader(2, 1, 4, 0), bytesOf({0, 0x0F}), {0, 0, 0, 255, 255, 255, 255, 255}},
      {pngHeader(1, 1, 16, 0), bytesOf({0, 0x80, 0x80}), {128, 128, 128, 255}},
      {pngHeader(1, 1, 8, 4), bytesOf({0, 7, 9}), {7, 7, 7, 9}},
      {pngHeader(1, 1, 16, 2), bytesOf({0, 1, 1, 2, 2, 3, 3}), {1, 2, 3, 255}},
      {pngHeader(2, 1, 2, 3), bytesOf({0, 0x10}), {10, 20, 30, 128, 40, 50, 60, 255}},
      {pngHeader(2, 2, 8, 4, true),
       bytesOf({0, 1, 11, 0, 2, 12, 0, 3, 13, 4, 14}),  // first, sixth and seventh pass
       {1, 1, 1, 11, 2, 2, 2, 12, 3, 3, 3, 13, 4, 4, 4, 14}},
  };
  for (const auto& [header, rows, pixels] : cases) {
    std::vector<PngChunk> chunks = {{"IHDR", header}, {"IDAT", deflated(rows)}, {"IEND", {}}};
    if (header[9] == std::byte{3}) {
      chunks.insert(chunks.begin() + 1,
                    {{"PLTE", bytesOf({10, 20, 30, 40, 50, 60})}, {"tRNS", bytesOf({128})}});
    }
    EXPECT_EQ(pixelsOf(assemblePng(chunks)), pixels);
  }
}

TEST(Jpeg, ReadsGreyAndRefusesFourColours) {
  const Pixels grey = pixelsOf(encodeJpeg(8, 8, 1, Pixels(64, 77), [](auto&) {}));
  ASSERT_EQ(grey.size(), 8U * 8 * 4);
  EXPECT_NEAR(grey[0], 77, 1);
  EXPECT_EQ((Pixels{grey[0], grey[0], grey[0], 255}), Pixels(grey.begin(), grey.begin() + 4));
  EXPECT_TRUE(pixelsOf(encodeJpeg(8, 8, 4, Pixels(256, 77), [](auto&) {})).empty());
}

TEST(Digest, TellsPicturesApart) {
  const Pixels pixels(4 * 6);
  const std::uint64_t digest = imageWithPixels(2, 3, pixels)->digest;
  EXPECT_EQ(imageWithPixels(2, 3, pixels)->digest, digest);
  EXPECT_NE(imageWithPixels(3, 2, pixels)->digest, digest);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    Pixels other = pixels;
    other[i] = 1;
    EXPECT_NE(imageWithPixels(2, 3, other)->digest, digest) << i;
  }
}

}  // namespace
}  // namespace tunevale::host
