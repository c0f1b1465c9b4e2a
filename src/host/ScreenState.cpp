#include "host/ScreenState.h"

#include <boost/json.hpp>

#include "host/ImageStore.h"
#include "host/Navigation.h"
#include "host/TreeJson.h"
#include "platform/PhoneSession.h"

namespace tunevale::host {

namespace json = boost::json;

namespace {

std::string_view wordFor(Navigation::Presentation presentation) {
  switch (presentation) {
    case Navigation::Presentation::root:
      return "root";
    case Navigation::Presentation::push:
      return "push";
    case Navigation::Presentation::modal:
      return "modal";
  }
  return "";
}

json::value alertJson(const WKAlert* alert) {
  if (alert == nullptr) return nullptr;
  json::array actions;
  for (const WKAlertAction& action : alert->actions) {
    json::object& node = actions.emplace_back(json::object{{"title", textJson(action.title)}}).get_object();
    if (action.style == WKAlertActionStyle::cancel) node["style"] = "cancel";
    if (action.style == WKAlertActionStyle::destructive) node["style"] = "destructive";
  }
  return {{"title", textJson(alert->title)}, {"message", textJson(alert->message)}, {"actions", actions}};
}

json::value faceJson(const WatchFace::Answers* face) {
  if (face == nullptr) return nullptr;
  json::value entry = nullptr;
  if (face->entry) entry = {{"text", textJson(*face->entry)}};
  return {
      {"complication",
       {{"directions", face->directions}, {"entry", entry}, {"privacy", static_cast<int>(face->privacy)}}}};
}

}  // namespace

PhoneState PhoneState::of(const PhoneSession& session) {
  return {session.activationState() == ActivationState::activated, session.isReachable(),
          session.iOSDeviceNeedsUnlockAfterRebootForReachability()};
}

json::object screenJson(const Navigation& navigation, const WatchFace::Answers* face, const PhoneState& phone,
                        ImageStore& images) {
  json::object screen;
  screen["identifier"] = navigation.identifier();
  screen["title"] = textJson(navigation.screen()->title());
  const auto back = navigation.backLabel();
  screen["back"] = back ? json::value(textJson(*back)) : json::value();
  screen["presentation"] = wordFor(navigation.presentation());
  screen["pages"] = nullptr;
  if (navigation.pageCount() > 1) {
    screen["pages"] = {{"index", navigation.page()}, {"count", navigation.pageCount()}};
  }
  screen["foreground"] = navigation.isForeground();
  screen["face"] = faceJson(face);
  screen["alert"] = alertJson(navigation.alert());
  screen["phone"] = {
      {"activated", phone.activated}, {"reachable", phone.reachable}, {"locked", phone.locked}};
  images.beginScreen();
  screen["tree"] = treeJson(*navigation.screen()->root(),
                            [&images](const ImageSource& source) { return images.idOf(source); });
  images.endScreen();
  return screen;
}

}  // namespace tunevale::host
