#pragma once

#include <functional>
#include <memory>
#include <string>

#include <boost/json/fwd.hpp>

namespace tunevale::host {

/// Tells displays of changes: compares what is on the screen with what was told last, and tells the
/// difference. Main queue.
class Publisher {
 public:
  using Source = std::function<boost::json::object()>;    // the screen without its version
  using Send = std::function<void(std::string message)>;  // to every display
  Publisher(Source source, Send send);
  ~Publisher();

  /// Something may have changed since the last publish().
  void markChanged() { changed_ = true; }
  /// Sends `{"patch": ...}` if something did.
  void publish();
  /// After publish(), the screen with its version, as JSON; and that as a first message to a display.
  std::string screen();
  std::string greeting();

 private:
  struct Published;
  const Source source_;
  const Send send_;
  bool changed_ = true;
  std::unique_ptr<Published> published_;
};

}  // namespace tunevale::host
