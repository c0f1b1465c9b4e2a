#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/ImageCodec.h"
#include "platform/WKInterfaceObject.h"

namespace tunevale::host {

/// The pictures that a display may ask for: those of the layout by name, and the decoded ones that are on
/// screen, or were a moment ago, by digest. Main queue.
class ImageStore {
 public:
  using PngFile = std::shared_ptr<const std::string>;

  /// The layout's pictures: name to the path of a PNG file.
  ImageStore(ImageCodec& codec, std::map<std::string, std::string, std::less<>> layoutImages);

  /// The ID of a picture, "" for none. A decoded one can be asked for from now on.
  std::string idOf(const ImageSource& source);
  /// One state of the screen has been described; pictures that several states did not mention are let go.
  void endState();

  /// The picture as a PNG file; null for an unknown ID.
  PngFile png(const std::string& id);
  /// Whether an ID's picture can never change.
  static bool isImmutable(std::string_view id) { return id.starts_with("art-"); }

 private:
  struct Shown {
    ImagePtr image;
    PngFile png;
    unsigned long lastState = 0;
  };
  ImageCodec& codec_;
  const std::map<std::string, std::string, std::less<>> layoutImages_;
  std::map<std::string, Shown> shown_;
  unsigned long state_ = 0;
};

}  // namespace tunevale::host
