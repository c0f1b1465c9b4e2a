#include <algorithm>
#include <cstdio>  // jpeglib.h needs FILE
#include <cstdlib>
#include <ctime>
#include <random>
#include <tuple>

#include <gtest/gtest.h>
#include <jpeglib.h>

#include "host/Downscaler.h"
#include "host/ImageAssembly.h"
#include "host/ImageCodecs.h"
#include "host/ImageLimits.h"
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

int farthest(const Pixels& a, const Pixels& b) {
  int most = a.size() == b.size() ? 0 : 256;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) most = std::max(most, std::abs(a[i] - b[i]));
  return most;
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

// Grey, coloured and transparent, all over or in the last or first pixel alone.
TEST(Png, ComesBackAsItWasWritten) {
  std::minstd_rand random;
  for (const auto& [colours, alphas, colourType] :
       {std::tuple(0, 0, 0), {851, 0, 2}, {1, 0, 2}, {851, 851, 6}, {0, 1, 6}}) {
    Pixels pixels;
    for (int left = 37 * 23; left > 0; --left) {
      const auto value = static_cast<std::uint8_t>(left % 37 * 5 + static_cast<int>(random() >> 8) % 9);
      pixels.insert(pixels.end(), {value, value, value, 255});
      if (left <= colours) pixels[pixels.size() - 2] ^= 0x55;
      if (left > 851 - alphas) pixels.back() = static_cast<std::uint8_t>(value / 2);
    }
    const Bytes file = codecs.pngRepresentation({37, 23, pixels, 0}).value();
    EXPECT_EQ(pixelsOf(file), pixels);
    EXPECT_EQ(std::to_integer<int>(file[25]), colourType);
  }
}

// And is averaged down where a side is asked for, worked out by hand: three pixels on two take two thirds and
// one third, and a colour counts as its alpha.
TEST(Png, ReadsEveryColourTypeAndDepth) {
  const struct {
    Bytes header;
    Bytes rows;  // each after its filter's number, 0 for none
    Pixels pixels;
    std::uint32_t mostSide = kShownSide;
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
      {pngHeader(3, 1, 8, 0), bytesOf({0, 0, 90, 181}), {30, 30, 30, 255, 151, 151, 151, 255}, 2},
      {pngHeader(1, 3, 8, 0), bytesOf({0, 0, 0, 90, 0, 181}), {30, 30, 30, 255, 151, 151, 151, 255}, 2},
      {pngHeader(2, 2, 8, 4), bytesOf({0, 8, 255, 20, 3, 0, 200, 0, 99, 0}), {8, 8, 8, 65}, 1},
      {pngHeader(2, 1, 8, 4), bytesOf({0, 100, 0, 7, 0}), {0, 0, 0, 0}, 1},
      {pngHeader(2, 2, 8, 4, true), bytesOf({0, 1, 255, 0, 2, 255, 0, 3, 255, 6, 255}), {3, 3, 3, 255}, 1},
      {pngHeader(2, 1, 8, 0), bytesOf({0, 5, 6}), {5, 5, 5, 255, 6, 6, 6, 255}, 2},
  };
  for (const auto& [header, rows, pixels, mostSide] : cases) {
    std::vector<PngChunk> chunks = {{"IHDR", header}, {"IDAT", deflated(rows)}, {"IEND", {}}};
    if (header[9] == std::byte{3}) {
      chunks.insert(chunks.begin() + 1,
                    {{"PLTE", bytesOf({10, 20, 30, 40, 50, 60})}, {"tRNS", bytesOf({128})}});
    }
    const ImagePtr image = decodeImage(assemblePng(chunks), mostSide);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixels, pixels);
  }
}

// The two formats are made smaller in different ways, and come out alike.
TEST(Codecs, DecodeAtTheSizeThatIsShown) {
  for (const auto& [size, shown] : {std::pair<PixelSize, PixelSize>({511, 300}, {511, 300}),
                                    {{1024, 600}, {512, 300}},
                                    {{700, 1701}, {211, 512}},
                                    {{1, 2048}, {1, 512}}}) {
    const ImagePtr expected = picture(shown.width, shown.height);
    for (const Bytes& file :
         {pngPicture(size.width, size.height), jpegPicture(size.width, size.height, 0, 98),
          jpegPicture(size.width, size.height, 0, 98, true)}) {
      const ImagePtr image = codecs.imageWithData(file);
      ASSERT_EQ((PixelSize{image->width, image->height}), shown) << size.width;
      EXPECT_LE(farthest(image->pixels, expected->pixels), 5) << size.width;
    }
  }
}

// Where 255 is white, as Adobe's programs store it, or no ink.
TEST(Jpeg, ReadsGreyAndInks) {
  for (const auto& [space, adobe, expected] : {std::tuple(JCS_GRAYSCALE, false, Pixels{200, 200, 200, 255}),
                                               {JCS_CMYK, true, {40, 20, 0, 255}},
                                               {JCS_YCCK, true, {40, 20, 0, 255}},
                                               {JCS_CMYK, false, {44, 124, 204, 255}}}) {
    const int components = space == JCS_GRAYSCALE ? 1 : 4;
    const Bytes file = encodeJpeg(1, 1, components, {200, 100, 0, 51},
                                  [space = space, adobe = adobe](jpeg_compress_struct& encoder) {
                                    jpeg_set_colorspace(&encoder, space);
                                    jpeg_set_quality(&encoder, 100, TRUE);
                                    encoder.write_Adobe_marker = adobe ? TRUE : FALSE;
                                  });
    EXPECT_LE(farthest(pixelsOf(file), expected), 2) << space << adobe;
  }
}

TEST(Jpeg, StandsUprightAsItsExifSays) {
  Pixels samples;
  for (int i = 0; i < 512; ++i)
    samples.push_back(static_cast<std::uint8_t>((i / 256 * 2 + i % 32 / 16) * 60));
  const Bytes file = encodeJpeg(32, 16, 1, samples, [](auto&) {});
  int orientation = 0;
  for (const std::string corners :
       {"abcd", "abcd", "badc", "dcba", "cdab", "acbd", "cadb", "dbca", "bdac", "abcd"}) {
    for (const bool bigEndian : {false, true}) {
      const ImagePtr image = codecs.imageWithData(withExif(file, exif(orientation, bigEndian)));
      const std::size_t width = orientation >= 5 && orientation <= 8 ? 16 : 32;
      ASSERT_EQ(image->width, width);
      std::string seen;
      for (const std::size_t at : {std::size_t{0}, width - 1, 512 - width, std::size_t{511}}) {
        seen += static_cast<char>('a' + (image->pixels[at * 4] + 30) / 60);
      }
      EXPECT_EQ(seen, corners) << orientation;
    }
    ++orientation;
  }
}

TEST(Digest, TellsPicturesApart) {
  const Pixels pixels(4 * 6);
  const std::uint64_t digest = imageWithPixels(2, 3, pixels)->digest;
  EXPECT_NE(imageWithPixels(3, 2, pixels)->digest, digest);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    Pixels other = pixels;
    other[i] = 1;
    EXPECT_NE(imageWithPixels(2, 3, other)->digest, digest) << i;
  }
}

// Decodes something hostile; whatever comes of it must keep its word.
ImagePtr decode(ByteView file) {
  ImagePtr image = codecs.imageWithData(file);
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
    // Each chunk of a PNG carries a checksum, so damage among the pixels never goes unseen.
    const std::size_t pixels = asText(file).find("IDAT"), end = asText(file).find("IEND") - 4;
    for (std::size_t bit = 0; bit < file.size() * 8; ++bit) {
      Bytes flipped = file;
      flipped[bit / 8] ^= std::byte{1} << (bit % 8);
      if (bit % 5 == 0) flipped[random() % file.size()] = static_cast<std::byte>(random());
      const ImagePtr image = decode(flipped);
      const bool seen = pixels <= bit / 8 && bit / 8 < end && bit % 5 != 0;
      EXPECT_FALSE(seen && image) << bit;
    }
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
