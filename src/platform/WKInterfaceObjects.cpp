#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceObject.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceSlider.h"
#include "platform/WKInterfaceTable.h"

namespace tunevale {

void WKInterfaceObject::setChangeHandler(const std::function<void()>* handler) {
  changeHandler_ = handler;
  for (const auto& child : children_) child->setChangeHandler(handler);
  changeHandlerDidChange();
}

bool WKInterfaceButton::tap() {
  if (isHidden() || !enabled_) return false;
  // The action may end the button's row, and the action with it.
  const Action action = action_;
  if (action) action();
  return true;
}

void WKInterfaceSlider::setValue(float value) {
  if (!std::isnan(value)) assign(value_, std::clamp(value, minimum_, maximum_));
}

std::shared_ptr<const WKImage> WKImage::imageWithImage(ImagePtr image) {
  if (!image) throw std::invalid_argument("there is no image");
  return std::shared_ptr<const WKImage>(new WKImage(std::move(image)));
}

void WKInterfacePicker::setItems(std::vector<WKPickerItem> items) {
  if (items == items_) return;
  items_ = std::move(items);
  selected_ = items_.empty() ? 0 : std::min(selected_, items_.size() - 1);
  changed();
}

void WKInterfacePicker::setSelectedItemIndex(std::ptrdiff_t index) {
  const auto last = std::max<std::ptrdiff_t>(std::ssize(items_) - 1, 0);
  assign(selected_, static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(index, 0, last)));
}

bool WKInterfacePicker::pick(std::ptrdiff_t index) {
  if (isHidden() || !enabled_ || items_.empty()) return false;
  const std::size_t before = selected_;
  setSelectedItemIndex(index);
  const Action action = action_;
  if (selected_ != before && action) action(static_cast<int>(selected_));
  return true;
}

void WKInterfaceTable::setNumberOfRows(std::size_t count, std::string_view rowType) {
  rows_.clear();
  if (!closed_) {
    rows_.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      rows_.push_back(factory_(rowType));
      rows_.back().tree->setChangeHandler(changeHandler());
    }
  }
  changed();
}

void WKInterfaceTable::close() {
  closed_ = true;
  rows_.clear();
}

void WKInterfaceTable::changeHandlerDidChange() {
  for (const Row& row : rows_) row.tree->setChangeHandler(changeHandler());
}

}  // namespace tunevale
