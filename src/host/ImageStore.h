#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/SceneLayout.h"

namespace tunevale {
class ImageCodec;
class MainQueue;
class SerialQueue;
}  // namespace tunevale

namespace tunevale::host {

/// The pictures of the screen by ID, as the display asks for them: images of the layout by name, others as
/// "art-" and their digest. What it keeps is within ImageLimits.h. Main queue; reading files and encoding
/// happen on the queue handed in.
class ImageStore {
 public:
  using Png = std::shared_ptr<const std::string>;
  /// Called on the main queue, once; null when there is no such picture.
  using Answer = std::function<void(const Png& png)>;

  ImageStore(const InterfaceLayout& layout, ImageCodec& codec, MainQueue& mainQueue,
             std::unique_ptr<SerialQueue> encodingQueue);
  ~ImageStore();

  /// From now on, what idOf() names is on the screen, and what it named before is not.
  void beginScreen();
  /// Lets go what is not on the screen and past its budget.
  void endScreen();
  /// The ID of a picture; "" for none, and for a name that the layout does not have.
  std::string idOf(const ImageSource& source);

  /// The file of a layout image; nothing when the ID names none.
  std::optional<std::string> fileOf(std::string_view id) const;
  /// The PNG of a picture that is on the screen or was lately. None when its file is damaged or was replaced:
  /// an ID never names another picture than it did.
  void encoded(const std::string& id, Answer answer);

 private:
  struct State;
  const InterfaceLayout& layout_;
  ImageCodec& codec_;
  MainQueue& mainQueue_;
  std::shared_ptr<State> state_;
  std::unique_ptr<SerialQueue> queue_;
};

}  // namespace tunevale::host
