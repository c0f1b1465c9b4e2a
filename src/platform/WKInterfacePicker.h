#pragma once

#include <cstddef>
#include <string_view>

#include "platform/ShownText.h"
#include "platform/WKInterfaceObject.h"

namespace tunevale {

/// A picture as an interface shows it.
class WKImage {
 public:
  /// Throws std::invalid_argument for null.
  static std::shared_ptr<const WKImage> imageWithImage(ImagePtr image);
  const ImagePtr& image() const { return image_; }

 private:
  explicit WKImage(ImagePtr image) : image_(std::move(image)) {}
  ImagePtr image_;
};

/// One choice of a picker.
class WKPickerItem {
 public:
  const std::string& title() const { return title_; }
  void setTitle(std::string_view utf8) { title_ = shownText(utf8); }
  const std::string& caption() const { return caption_; }
  void setCaption(std::string_view utf8) { caption_ = shownText(utf8); }
  const std::shared_ptr<const WKImage>& contentImage() const { return contentImage_; }
  void setContentImage(std::shared_ptr<const WKImage> image) { contentImage_ = std::move(image); }
  friend bool operator==(const WKPickerItem&, const WKPickerItem&) = default;

 private:
  std::string title_;
  std::string caption_;
  std::shared_ptr<const WKImage> contentImage_;
};

/// A choice made by the crown.
class WKInterfacePicker : public WKInterfaceObject {
 public:
  static constexpr Kind kKind = Kind::picker;
  using Action = std::function<void(int index)>;
  explicit WKInterfacePicker(ElementAttributes attributes)
      : WKInterfaceObject(kKind, std::move(attributes)) {}

  const std::vector<WKPickerItem>& items() const { return items_; }
  /// Replaces the items; the selection stays at its index as far as there are items.
  void setItems(std::vector<WKPickerItem> items);
  /// 0 also when there are no items.
  std::size_t selectedItemIndex() const { return selected_; }
  /// Selects an item; an index past an end selects that end. It does not run the action: only a person's turn
  /// of the crown does, so a screen that fills its picker is not told of what it did itself.
  void setSelectedItemIndex(std::ptrdiff_t index);
  bool isEnabled() const { return enabled_; }
  void setEnabled(bool enabled) { assign(enabled_, enabled); }
  /// Gives this picker the crown, as long as its screen is on top.
  void focus() { assign(focused_, true); }
  bool isFocused() const { return focused_; }

  void setAction(Action action) { action_ = std::move(action); }
  /// What a person's turn does: selects (ends clamp) and runs the action when the selection moved. False, and
  /// nothing happens, when the picker is hidden, disabled or empty.
  bool pick(std::ptrdiff_t index);

 private:
  std::vector<WKPickerItem> items_;
  std::size_t selected_ = 0;
  bool enabled_ = true;
  bool focused_ = false;
  Action action_;
};

}  // namespace tunevale
