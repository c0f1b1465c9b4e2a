#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Bytes.h"

namespace tunevale::phone {

enum class PictureFormat { jpeg, png };

inline constexpr std::uint32_t kArtworkSide = 300;  // pixels

/// A picture drawn from a name: the same name always gives the same pixels. Any thread.
class Artwork {
 public:
  explicit Artwork(std::string_view name);
  /// Of an id() given out earlier; nothing for any other text.
  static std::optional<Artwork> withId(std::string_view id);

  /// 16 hexadecimal digits.
  std::string id() const;
  /// An encoded picture of kArtworkSide by kArtworkSide pixels.
  Bytes encoded(PictureFormat format) const;
  /// The same out of focus, as a backdrop for text.
  Bytes encodedBlurred(PictureFormat format) const;

 private:
  explicit Artwork(std::uint64_t seed) : seed_(seed) {}
  std::uint64_t seed_ = 0;
};

}  // namespace tunevale::phone
