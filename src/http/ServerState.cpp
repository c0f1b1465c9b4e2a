#include "http/ServerState.h"

#include <algorithm>

#include "foundation/Text.h"

namespace tunevale::http {

namespace {

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string Route::allowed() const {
  if (get || webSocket) return post ? "GET, HEAD, POST" : "GET, HEAD";
  return "POST";
}

const Route* ServerState::routeOf(std::string_view path) const {
  if (const auto found = exact.find(path); found != exact.end()) return &found->second;
  const Route* best = nullptr;
  std::size_t length = 0;
  for (const auto& [prefix, route] : prefixes) {
    if (path.starts_with(prefix) && prefix.size() >= length) {
      best = &route;
      length = prefix.size();
    }
  }
  return best;
}

void ServerState::stop() {
  stopped = true;
  const auto open = connections;
  for (Connection* connection : open) connection->stop();
  exact.clear();
  prefixes.clear();
}

std::optional<std::string> decodedPath(std::string_view path) {
  if (!path.starts_with('/')) return std::nullopt;
  std::string result;
  for (std::size_t i = 0; i < path.size(); ++i) {
    char c = path[i];
    if (c == '%') {
      if (path.size() - i < 3) return std::nullopt;
      const int high = hexDigit(path[i + 1]);
      const int low = hexDigit(path[i + 2]);
      if (high < 0 || low < 0) return std::nullopt;
      c = static_cast<char>(high * 16 + low);
      i += 2;
    }
    result.push_back(c);
  }
  const bool controls =
      std::any_of(result.begin(), result.end(), [](char c) { return (c >= 0 && c < 0x20) || c == 0x7F; });
  if (controls || !isValidUtf8(result)) return std::nullopt;
  return result;
}

}  // namespace tunevale::http
