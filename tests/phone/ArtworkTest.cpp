#include <gtest/gtest.h>

#include "host/ImageCodecs.h"
#include "phone/Artwork.h"
#include "phone/Canvas.h"

namespace tunevale::phone {
namespace {

std::vector<std::uint8_t> pixelsOf(const Bytes& file) {
  const ImagePtr image = host::ImageCodecs().imageWithData(file);
  if (!image || image->width != kArtworkSide || image->height != kArtworkSide) return {};
  return image->pixels;
}

/// The largest step between neighbours in a row: sharp edges have large ones.
int steepest(const std::vector<std::uint8_t>& pixels) {
  int found = 0;
  for (std::size_t i = 4; i < pixels.size(); ++i) {
    if (i % (kArtworkSide * 4) >= 4) found = std::max(found, std::abs(pixels[i] - pixels[i - 4]));
  }
  return found;
}

TEST(ArtworkTest, IsDrawnFromItsNameInBothFormats) {
  const Artwork artwork("eng004");
  const auto png = pixelsOf(artwork.encoded(PictureFormat::png));
  const auto jpeg = pixelsOf(artwork.encoded(PictureFormat::jpeg));
  ASSERT_FALSE(png.empty());
  ASSERT_EQ(jpeg.size(), png.size());
  std::size_t difference = 0;
  for (std::size_t i = 0; i < png.size(); ++i)
    difference += static_cast<std::size_t>(std::abs(png[i] - jpeg[i]));
  EXPECT_LT(difference / png.size(), 6u) << "one picture, whatever its format";
  EXPECT_NE(png, pixelsOf(Artwork("eng005").encoded(PictureFormat::png)));
}

TEST(ArtworkTest, OutOfFocusHasNoEdges) {
  const Artwork artwork("Night Drive");
  EXPECT_GT(steepest(pixelsOf(artwork.encoded(PictureFormat::png))), 60);
  EXPECT_LT(steepest(pixelsOf(artwork.encodedBlurred(PictureFormat::png))), 12);
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
