#include "host/Publisher.h"

#include <boost/json.hpp>

#include "host/JsonPatch.h"

namespace tunevale::host {

namespace json = boost::json;

struct Publisher::Published {
  json::value screen;  // with its version
  std::int64_t version = 0;
};

Publisher::Publisher(Source source, Send send)
    : source_(std::move(source)), send_(std::move(send)), published_(std::make_unique<Published>()) {}

Publisher::~Publisher() = default;

void Publisher::publish() {
  if (!changed_) return;
  changed_ = false;
  json::value screen = source_();
  screen.get_object()["version"] = published_->version;
  if (published_->screen.is_null()) {
    screen.get_object()["version"] = ++published_->version;
    published_->screen = std::move(screen);
    return;
  }
  if (jsonPatch(published_->screen, screen).empty()) return;
  screen.get_object()["version"] = ++published_->version;
  const json::value patch = jsonPatch(published_->screen, screen);
  published_->screen = std::move(screen);
  std::string message = json::serialize(json::object{{"patch", patch}});
  // Two screens have little in common; one written over the other may then be shorter than what differs.
  json::array whole;
  whole.push_back({{"op", "replace"}, {"path", ""}, {"value", published_->screen}});
  std::string replacement = json::serialize(json::object{{"patch", std::move(whole)}});
  send_(message.size() <= replacement.size() ? std::move(message) : std::move(replacement));
}

std::string Publisher::screen() {
  publish();
  return json::serialize(published_->screen);
}

std::string Publisher::greeting() {
  return R"({"screen":)" + screen() + "}";
}

}  // namespace tunevale::host
