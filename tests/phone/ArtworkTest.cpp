#include <gtest/gtest.h>

#include "host/ImageCodecs.h"
#include "phone/Artwork.h"

namespace tunevale::phone {
namespace {

std::vector<std::uint8_t> pixelsOf(const Bytes& file) {
  const ImagePtr image = host::ImageCodecs().imageWithData(file);
  if (!image || image->width != kArtworkSide || image->height != kArtworkSide) return {};
  return image->pixels;
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

TEST(ArtworkTest, AnIdLeadsBackToItsPicture) {
  const Artwork artwork("பனித்துளி");
  const auto found = Artwork::withId(artwork.id());
  ASSERT_TRUE(found);
  EXPECT_EQ(found->encoded(PictureFormat::png), artwork.encoded(PictureFormat::png));
  for (const char* wrong : {"", "../../etc/passwd", "00000000000000g0", "00000000000000001"}) {
    EXPECT_FALSE(Artwork::withId(wrong)) << wrong;
  }
}

}  // namespace
}  // namespace tunevale::phone
