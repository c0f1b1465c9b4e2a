#include <cstdio>

#include <gtest/gtest.h>
#include <jpeglib.h>
#include <png.h>

#include "phone/Artwork.h"
#include "phone/Canvas.h"

namespace tunevale::phone {
namespace {

std::vector<unsigned char> pixelsOfPng(const Bytes& file) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0) return {};
  image.format = PNG_FORMAT_RGB;
  if (image.width != kArtworkSide || image.height != kArtworkSide) return {};
  std::vector<unsigned char> pixels(PNG_IMAGE_SIZE(image));
  png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
  return pixels;
}

std::vector<unsigned char> pixelsOfJpeg(const Bytes& file) {
  jpeg_decompress_struct jpeg{};
  jpeg_error_mgr errors{};
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&jpeg);
  jpeg_mem_src(&jpeg, reinterpret_cast<const unsigned char*>(file.data()), file.size());
  jpeg_read_header(&jpeg, TRUE);
  jpeg_start_decompress(&jpeg);
  std::vector<unsigned char> pixels(std::size_t{jpeg.output_width} * jpeg.output_height * 3);
  while (jpeg.output_scanline < jpeg.output_height) {
    unsigned char* row = pixels.data() + std::size_t{jpeg.output_scanline} * jpeg.output_width * 3;
    jpeg_read_scanlines(&jpeg, &row, 1);
  }
  jpeg_destroy_decompress(&jpeg);
  return pixels;
}

/// The largest step between neighbours in a row: sharp edges have large ones.
int steepest(const std::vector<unsigned char>& pixels) {
  int found = 0;
  for (std::size_t i = 3; i < pixels.size(); ++i) {
    if (i % (kArtworkSide * 3) >= 3) found = std::max(found, std::abs(pixels[i] - pixels[i - 3]));
  }
  return found;
}

TEST(ArtworkTest, IsDrawnFromItsNameInBothFormats) {
  const Artwork artwork("eng004");
  const auto png = pixelsOfPng(artwork.encoded(PictureFormat::png));
  const auto jpeg = pixelsOfJpeg(artwork.encoded(PictureFormat::jpeg));
  ASSERT_EQ(png.size(), std::size_t{kArtworkSide} * kArtworkSide * 3);
  ASSERT_EQ(jpeg.size(), png.size());
  std::size_t difference = 0;
  for (std::size_t i = 0; i < png.size(); ++i)
    difference += static_cast<std::size_t>(std::abs(png[i] - jpeg[i]));
  EXPECT_LT(difference / png.size(), 6u) << "one picture, whatever its format";
  EXPECT_EQ(artwork.encoded(PictureFormat::jpeg), Artwork("eng004").encoded(PictureFormat::jpeg));
  EXPECT_NE(png, pixelsOfPng(Artwork("eng005").encoded(PictureFormat::png)));
}

TEST(ArtworkTest, OutOfFocusHasNoEdges) {
  const Artwork artwork("Night Drive");
  EXPECT_GT(steepest(pixelsOfPng(artwork.encoded(PictureFormat::png))), 60);
  EXPECT_LT(steepest(pixelsOfPng(artwork.encodedBlurred(PictureFormat::png))), 12);
}

TEST(ArtworkTest, AnIdLeadsBackToItsPicture) {
  const Artwork artwork("பனித்துளி");
  const auto found = Artwork::withId(artwork.id());
  ASSERT_TRUE(found);
  EXPECT_EQ(found->id(), artwork.id());
  EXPECT_EQ(found->encoded(PictureFormat::png), artwork.encoded(PictureFormat::png));
  for (const char* wrong :
       {"", "12", "../../etc/passwd", "00000000000000g0", "-000000000000001", "00000000000000001"}) {
    EXPECT_FALSE(Artwork::withId(wrong)) << wrong;
  }
}

TEST(ArtworkTest, ShapesMayReachBeyondTheCanvas) {
  Canvas canvas(40);
  canvas.gradient({0, 0, 0}, {90, 90, 90}, -2, 1);
  canvas.disc(-30, 90, 60, {255, 0, 0}, 255);
  canvas.ring(20, 20, 500, 10, {0, 255, 0}, 255);
  canvas.hill(-100, -100, 60, {0, 0, 255}, 255);
  canvas.blur(100);
  EXPECT_EQ(canvas.pixels().size(), 40u * 40u * 3u);
}

}  // namespace
}  // namespace tunevale::phone
