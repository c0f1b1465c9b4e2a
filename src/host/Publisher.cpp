#include "host/Publisher.h"

#include <boost/json.hpp>

#include "host/JsonPatch.h"

namespace tunevale::host {

namespace json = boost::json;

namespace {

// Two screens have little in common; past this, the new one written over the old may be shorter than what
// differs.
constexpr std::size_t kLargePatch = 16;

}  // namespace

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
  json::array patch = jsonPatch(published_->screen, screen);
  if (patch.empty()) return;
  screen.get_object()["version"] = ++published_->version;
  patch.push_back({{"op", "replace"}, {"path", "/version"}, {"value", published_->version}});
  published_->screen = std::move(screen);

  const bool large = patch.size() > kLargePatch;
  std::string message = json::serialize(json::object{{"patch", std::move(patch)}});
  if (large) {
    const json::object whole{{"op", "replace"}, {"path", ""}, {"value", published_->screen}};
    std::string replacement = json::serialize(json::object{{"patch", json::array{whole}}});
    if (replacement.size() < message.size()) message = std::move(replacement);
  }
  send_(std::move(message));
}

std::string Publisher::screen() {
  publish();
  return json::serialize(published_->screen);
}

std::string Publisher::greeting() {
  return R"({"screen":)" + screen() + "}";
}

}  // namespace tunevale::host
