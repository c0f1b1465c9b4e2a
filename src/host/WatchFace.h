#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/Complications.h"

namespace tunevale::host {

/// The face of the watch, with a place for the extension's complication. It asks the data source each time it
/// comes to be shown. Main queue.
class WatchFace {
 public:
  /// What the data source answered so far.
  struct Answers {
    unsigned directions = 0;
    std::optional<std::string> entry;
    CLKComplicationPrivacyBehavior privacy = CLKComplicationPrivacyBehavior::showOnLockScreen;
  };

  /// `didChange` is called when an answer comes later than asked for. Both outlive this.
  WatchFace(CLKComplicationDataSource& source, const std::function<void()>& didChange)
      : source_(source), didChange_(didChange) {}

  void setShown(bool shown);
  /// Null while it is not shown.
  const Answers* answers() const { return answers_.get(); }

 private:
  CLKComplicationDataSource& source_;
  const std::function<void()>& didChange_;
  std::shared_ptr<Answers> answers_;
};

}  // namespace tunevale::host
