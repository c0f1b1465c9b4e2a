#include <algorithm>
#include <chrono>
#include <cstdio>  // jpeglib.h needs FILE
#include <ctime>
#include <random>

#include <gtest/gtest.h>
#include <jpeglib.h>

#include "host/ExifAssembly.h"
#include "host/ImageCodecs.h"
#include "host/ImageLimits.h"
#include "host/PngAssembly.h"
#include "support/Pictures.h"

namespace tunevale::host {
namespace {

using namespace test;

// Decodes something hostile; whatever comes of it must keep its word, and soon.
ImagePtr decode(ByteView file) {
  const auto start = std::chrono::steady_clock::now();
  ImagePtr image = ImageCodecs().imageWithData(file);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  if (image) {
    EXPECT_LE(std::max(image->width, image->height), kMostImageSide);
    EXPECT_EQ(image->pixels.size(), std::size_t{image->width} * image->height * 4);
  }
  return image;
}

std::vector<Bytes> honestFiles() {
  return {pngPicture(40, 30, 1, false), jpegPicture(40, 30, 1), jpegPicture(40, 30, 1, 80, true)};
}

Bytes greyPng(std::uint32_t width, std::uint32_t height, std::size_t zeros) {
  return assemblePng(
      {{"IHDR", pngHeader(width, height, 8, 0)}, {"IDAT", deflated(Bytes(zeros))}, {"IEND", {}}});
}

TEST(HostileImages, ThatAreOthersOrCutShortAreNone) {
  for (const char* other : {"", "\x89", "\x89PNG\r\n\x1A\n", "\xFF\xD8\xFF\xD9", "GIF89a", "<svg/>"}) {
    EXPECT_EQ(decode(asBytes(other)), nullptr) << other;
  }
  for (const Bytes& file : honestFiles()) {
    ASSERT_TRUE(decode(file));
    for (std::size_t size = 0; size < file.size(); ++size) {
      ASSERT_EQ(decode(ByteView(file).first(size)), nullptr) << size << " of " << file.size();
    }
  }
}

TEST(HostileImages, WithFlippedBitsKeepTheirWord) {
  std::mt19937 random(7);
  for (const Bytes& file : honestFiles()) {
    for (std::size_t bit = 0; bit < file.size() * 8; ++bit) {
      Bytes flipped = file;
      flipped[bit / 8] ^= std::byte{1} << (bit % 8);
      if (bit % 5 == 0) flipped[random() % file.size()] = static_cast<std::byte>(random());
      decode(flipped);
    }
  }
}

// Each chunk of a PNG carries a checksum, so damage among the pixels never goes unseen.
TEST(HostileImages, PngWithDamagedPixelsIsNone) {
  const Bytes file = pngPicture(40, 30, 1);
  const std::size_t end = asText(file).find("IEND") - 4;
  for (std::size_t i = asText(file).find("IDAT"); i < end; ++i) {
    Bytes flipped = file;
    flipped[i] ^= std::byte{0x10};
    EXPECT_EQ(decode(flipped), nullptr) << i;
  }
}

TEST(HostileImages, PastTheLimitsAreNone) {
  EXPECT_TRUE(decode(greyPng(2048, 2048, 2048 * 2049)));  // a true picture of the largest size, in 4 KiB
  EXPECT_EQ(decode(greyPng(2049, 1, 2050)), nullptr);
  EXPECT_EQ(decode(greyPng(1, 2049, 4098)), nullptr);
  EXPECT_EQ(decode(greyPng(0x7FFFFFFF, 0x7FFFFFFF, 4098)), nullptr);
  EXPECT_EQ(decode(greyPng(0, 5, 4098)), nullptr);
  decode(greyPng(1, 1, 64 << 20));  // 64 MiB for one pixel

  Bytes jpeg = jpegPicture(16, 16);
  const std::size_t frame = asText(jpeg).find("\xFF\xC0");
  ASSERT_NE(frame, std::string_view::npos);
  // The last two have the size but not the data for it.
  for (const auto& [width, height] :
       {std::pair(0xFFFF, 0xFFFF), {2049, 16}, {16, 2049}, {0, 16}, {16, 0}, {2048, 2048}, {64, 64}}) {
    const Bytes size = bytesOf({height >> 8, height & 0xFF, width >> 8, width & 0xFF});
    std::copy(size.begin(), size.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(frame) + 5);
    EXPECT_EQ(decode(jpeg), nullptr) << width << "x" << height;
  }

  for (const auto& [width, height] : {std::pair(2049U, 1U), {1U, 2049U}}) {
    EXPECT_EQ(decode(encodeJpeg(width, height, 1, std::vector<std::uint8_t>(2049), [](auto&) {})), nullptr);
  }
  Bytes padded = pngPicture(4, 4);
  padded.resize(kMostImageBytes);
  EXPECT_TRUE(decode(padded));
  padded.resize(kMostImageBytes + 1);
  EXPECT_EQ(decode(padded), nullptr);
}

// The mean first, then each of the 63 frequencies alone but for its last bit, then those bits one by one.
Bytes jpegOfScans(int scans) {
  std::vector<jpeg_scan_info> script{{1, {0}, 0, 0, 0, 0}};
  for (int k = 1; k < 64; ++k) script.push_back({1, {0}, k, k, 0, 1});
  for (int k = 1; k < 64; ++k) script.push_back({1, {0}, k, k, 1, 0});
  return encodeJpeg(64, 64, 1, std::vector<std::uint8_t>(64 * 64, 99), [&](jpeg_compress_struct& encoder) {
    encoder.scan_info = script.data();
    encoder.num_scans = scans;
  });
}

TEST(HostileImages, OfMoreThan64ScansAreNone) {
  EXPECT_TRUE(decode(jpegOfScans(64)));
  EXPECT_EQ(decode(jpegOfScans(65)), nullptr);
  const Bytes file = jpegPicture(64, 64, 1, 80, true);
  const std::string text(asText(file));
  const std::size_t scan = text.rfind("\xFF\xDA"), end = text.rfind("\xFF\xD9");
  std::string many = text.substr(0, end);
  for (int i = 0; i < 1000; ++i) many += text.substr(scan, end - scan);  // its last scan, again and again
  EXPECT_EQ(decode(asBytes(many + text.substr(end))), nullptr);
}

// Cut anywhere, or wrong in its magic number, the directory's place (past all, at the end), its length, the
// tag's kind and value, the marker leaves the picture as it is; of a wrong length itself, it is none.
TEST(HostileImages, ThatSayWronglyHowTheyAreTurnedStayAsTheyAre) {
  const Bytes jpeg = jpegPicture(32, 16), honest = exif(6, true);
  const auto widthWith = [&](const Bytes& contents) { return decode(withExif(jpeg, contents))->width; };
  for (std::size_t size = 0; size <= honest.size(); ++size) {
    EXPECT_EQ(widthWith(Bytes(honest.begin(), honest.end() - static_cast<long>(size))), size > 2 ? 32U : 16U);
  }
  for (const auto& [at, bytes] : {std::pair(9, bytesOf({43})),
                                  {10, Bytes(4, std::byte{0xFF})},
                                  {13, bytesOf({42})},
                                  {15, bytesOf({1})},
                                  {31, bytesOf({4})},
                                  {36, bytesOf({1, 6})}}) {
    Bytes wrong = honest;
    std::copy(bytes.begin(), bytes.end(), wrong.begin() + at);
    EXPECT_EQ(widthWith(wrong), 32U) << at;
  }
  Bytes file = withExif(jpeg, honest);
  for (const auto& [high, low] : {std::pair(0, 0), {0, 1}, {0xFF, 0xFF}}) {
    file[4] = static_cast<std::byte>(high);
    file[5] = static_cast<std::byte>(low);
    EXPECT_EQ(decode(file), nullptr) << low;
  }
}

// A PNG may carry texts and profiles that unpack to a thousand times their size. We unpack none.
TEST(HostileImages, DoNotHaveTheirTextsUnpacked) {
  Bytes text = bytesOf({'k', 0, 0});
  appendBytes(text, deflated(Bytes(7'900'000)));
  std::vector<PngChunk> chunks(400, {"zTXt", text});
  chunks.insert(chunks.begin(), {{"IHDR", pngHeader(1, 1, 8, 0)}, {"iCCP", text}});
  chunks.insert(chunks.end(), {{"IDAT", deflated(Bytes(2))}, {"IEND", {}}});
  const Bytes file = assemblePng(chunks);
  ASSERT_LT(file.size(), kMostImageBytes);
  const auto start = std::clock();
  EXPECT_TRUE(decode(file));
  EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC / 2);  // unpacking 3 GB takes ten times as long
}

}  // namespace
}  // namespace tunevale::host
