#include "phone/LineSplitter.h"

#include <algorithm>
#include <utility>

namespace tunevale::phone {

LineSplitter::LineSplitter(std::size_t most, std::function<void(std::string_view)> line,
                           std::function<void()> tooLong)
    : most_(most), line_(std::move(line)), tooLong_(std::move(tooLong)) {}

void LineSplitter::feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    const std::string_view part = bytes.substr(0, end);
    // One more than allowed may stay: it can be the "\r" of a line end.
    if (!skipping_ && part.size() > most_ + 1 - std::min(most_ + 1, pending_.size())) {
      skipping_ = true;
      pending_.clear();
      pending_.shrink_to_fit();
    }
    if (!skipping_) pending_ += part;
    if (end == std::string_view::npos) return;
    endLine();
    bytes.remove_prefix(end + 1);
  }
}

void LineSplitter::finish() {
  if (skipping_ || !pending_.empty()) endLine();
}

void LineSplitter::endLine() {
  std::string line = std::exchange(pending_, {});
  if (line.ends_with('\r')) line.pop_back();
  if (std::exchange(skipping_, false) || line.size() > most_) {
    tooLong_();
  } else {
    line_(line);
  }
}

}  // namespace tunevale::phone
