#include <algorithm>
#include <chrono>
#include <random>

#include <gtest/gtest.h>
#include <malloc.h>

#include "host/ImageCodecs.h"
#include "host/ImageFiles.h"
#include "host/ImageLimits.h"
#include "support/Pictures.h"

namespace tunevale::host {
namespace {

using test::assemblePng;
using test::deflated;
using test::jpegPicture;
using test::PngChunk;
using test::pngHeader;
using test::pngPicture;

ImageCodecs codecs;

// Decodes something hostile; whatever comes of it must keep its word, and soon.
ImagePtr decode(ByteView file) {
  const auto start = std::chrono::steady_clock::now();
  ImagePtr image = codecs.imageWithData(file);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  if (image) {
    EXPECT_LE(std::max(image->width, image->height), kMostImageSide);
    EXPECT_EQ(image->pixels.size(), std::size_t{image->width} * image->height * 4);
  }
  return image;
}

// Deflated zeros are some thousandth of their size.
Bytes zeros(std::size_t count) {
  return Bytes(count);
}

TEST(HostileImages, ThatAreNone) {
  using namespace std::string_view_literals;
  for (const auto& text :
       {""sv, "\x89"sv, "\x89PNG\r\n\x1A\n"sv, "\xFF\xD8\xFF"sv, "\xFF\xD8\xFF\xD9"sv, "GIF89a"sv,
        "RIFF\x10\0\0\0WEBPVP8 "sv, "<svg xmlns='http://www.w3.org/2000/svg'/>"sv}) {
    EXPECT_EQ(decode(asBytes(text)), nullptr) << text;
  }
}

TEST(HostileImages, CutShortAreNone) {
  const Bytes files[] = {pngPicture(24, 24, 1, false), jpegPicture(24, 24, 1),
                         jpegPicture(24, 24, 1, 80, true)};
  for (const Bytes& file : files) {
    ASSERT_TRUE(decode(file));
    for (std::size_t size = 0; size < file.size(); ++size) {
      ASSERT_EQ(decode(ByteView(file).first(size)), nullptr) << size << " of " << file.size();
    }
  }
}

TEST(HostileImages, WithFlippedBitsKeepTheirWord) {
  std::mt19937 random(7);
  const Bytes files[] = {pngPicture(40, 30, 1, false), jpegPicture(40, 30, 1),
                         jpegPicture(40, 30, 1, 80, true)};
  for (const Bytes& file : files) {
    for (std::size_t bit = 0; bit < file.size() * 8; ++bit) {
      Bytes flipped = file;
      flipped[bit / 8] ^= std::byte{1} << (bit % 8);
      if (bit % 5 == 0) flipped[random() % file.size()] = static_cast<std::byte>(random());
      decode(flipped);
    }
  }
}

// Each chunk of a PNG carries a checksum, so a flipped bit in the pixels never goes unseen.
TEST(HostileImages, PngWithFlippedPixelsIsNone) {
  const Bytes file = pngPicture(40, 30, 1);
  const std::string_view text = asText(file);
  const std::size_t begin = text.find("IDAT"), end = text.find("IEND") - 4;
  for (std::size_t i = begin; i < end; ++i) {
    Bytes flipped = file;
    flipped[i] ^= std::byte{0x10};
    EXPECT_EQ(decode(flipped), nullptr) << i;
  }
}

TEST(HostileImages, LargerThanTheLimitsAreNone) {
  const Bytes row = deflated(zeros(4097));
  for (const auto& [width, height] :
       {std::pair(2049U, 1U), {1U, 2049U}, {0x7FFFFFFFU, 0x7FFFFFFFU}, {0U, 5U}}) {
    EXPECT_EQ(decode(assemblePng({{"IHDR", pngHeader(width, height, 8, 0)}, {"IDAT", row}, {"IEND", {}}})),
              nullptr);
  }
  // Zeros for every row, filter byte and all: a true picture of the largest size in 4 KiB.
  const Bytes grey = deflated(zeros(2048 * 2049));
  EXPECT_TRUE(decode(assemblePng({{"IHDR", pngHeader(2048, 2048, 8, 0)}, {"IDAT", grey}, {"IEND", {}}})));

  Bytes jpeg = jpegPicture(16, 16);
  const std::size_t frame = asText(jpeg).find("\xFF\xC0");
  ASSERT_NE(frame, std::string_view::npos);
  for (const auto& [width, height] :
       {std::pair(0xFFFF, 0xFFFF), {2049, 16}, {16, 2049}, {0, 16}, {16, 0}, {2048, 2048}}) {
    for (const auto& [at, side] : {std::pair(frame + 5, height), {frame + 7, width}}) {
      jpeg[at] = static_cast<std::byte>(side >> 8);
      jpeg[at + 1] = static_cast<std::byte>(side & 0xFF);
    }
    EXPECT_EQ(decode(jpeg), nullptr) << width << "x" << height;  // the last one: too little data
  }

  Bytes padded = pngPicture(4, 4);
  padded.resize(kMostImageBytes);
  EXPECT_TRUE(decode(padded));
  padded.resize(kMostImageBytes + 1);
  EXPECT_EQ(decode(padded), nullptr);
}

TEST(HostileImages, OfMoreThan64ScansAreNone) {
  EXPECT_TRUE(decode(test::greyJpegOfScans(64)));
  EXPECT_EQ(decode(test::greyJpegOfScans(65)), nullptr);
  EXPECT_EQ(decode(test::greyJpegOfScans(127)), nullptr);

  // The last scan of an honest file a thousand times over.
  const Bytes file = jpegPicture(64, 64, 1, 80, true);
  const std::string text(asText(file));
  const std::size_t scan = text.rfind("\xFF\xDA"), end = text.rfind("\xFF\xD9");
  std::string many = text.substr(0, end);
  for (int i = 0; i < 1000; ++i) many += text.substr(scan, end - scan);
  EXPECT_EQ(decode(asBytes(many + text.substr(end))), nullptr);
}

TEST(HostileImages, WithTooMuchDataInTheChunkAreReadToTheLastRow) {
  const Bytes image = deflated(zeros(64 << 20));  // 64 MiB for a picture of one pixel
  decode(assemblePng({{"IHDR", pngHeader(1, 1, 8, 0)}, {"IDAT", image}, {"IEND", {}}}));
}

// A PNG may carry texts and profiles that unpack to a thousand times their size. We unpack none.
TEST(HostileImages, DoNotUnpackTexts) {
  Bytes text = deflated(zeros(7'900'000));
  text.insert(text.begin(), {std::byte{'k'}, std::byte{0}, std::byte{0}});
  std::vector<PngChunk> chunks = {{"IHDR", pngHeader(1, 1, 8, 0)}, {"IDAT", deflated(zeros(2))}};
  chunks.insert(chunks.begin() + 1, 400, {"zTXt", text});
  chunks.insert(chunks.begin() + 1, {"iCCP", text});
  chunks.push_back({"IEND", {}});
  const Bytes file = assemblePng(chunks);
  ASSERT_LT(file.size(), kMostImageBytes);

  const auto start = std::clock();
  EXPECT_TRUE(decode(file));
  const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  EXPECT_LT(seconds, 0.5);  // unpacking 3 GB takes ten times as long
}

}  // namespace
}  // namespace tunevale::host
