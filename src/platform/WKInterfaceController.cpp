#include "platform/WKInterfaceController.h"

#include "platform/InterfaceHost.h"
#include "platform/ShownText.h"
#include "platform/WKInterfaceTable.h"

namespace tunevale {

namespace {

void closeTables(WKInterfaceObject& element) {
  if (element.kind() == WKInterfaceObject::Kind::table) static_cast<WKInterfaceTable&>(element).close();
  for (const auto& child : element.children()) closeTables(*child);
}

}  // namespace

void WKInterfaceController::setTitle(std::string_view title) {
  title_ = shownText(title);
  if (const auto host = host_.lock()) host->titleDidChange(*this);
}

void WKInterfaceController::pushControllerWithName(const std::string& name, const PlistValue& context) {
  if (const auto host = host_.lock()) host->push(*this, name, context);
}

void WKInterfaceController::presentControllerWithName(const std::string& name, const PlistValue& context) {
  if (const auto host = host_.lock()) host->present(*this, {{name, context}});
}

void WKInterfaceController::presentControllerWithNames(const std::vector<std::string>& names,
                                                       const std::vector<PlistValue>& contexts) {
  std::vector<InterfaceHost::Page> pages;
  for (std::size_t i = 0; i < names.size(); ++i) {
    pages.emplace_back(names[i], i < contexts.size() ? contexts[i] : PlistValue());
  }
  if (const auto host = host_.lock()) host->present(*this, pages);
}

void WKInterfaceController::presentAlertControllerWithTitle(std::string_view title, std::string_view message,
                                                            WKAlertControllerStyle preferredStyle,
                                                            std::vector<WKAlertAction> actions) {
  const auto host = host_.lock();
  if (!host) return;
  for (WKAlertAction& action : actions) action.title.resize(shownText(action.title).size());
  host->presentAlert(*this, {std::string(shownText(title)), std::string(shownText(message)), preferredStyle,
                             std::move(actions)});
}

void WKInterfaceController::attach(std::unique_ptr<WKInterfaceObject> root, const InterfaceHost& host) {
  root_ = std::move(root);
  host_ = host.handle();
}

void WKInterfaceController::detach() {
  if (root_) {
    root_->setChangeHandler(nullptr);
    closeTables(*root_);
  }
}

}  // namespace tunevale
