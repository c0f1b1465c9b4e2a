#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/PlistDictionary.h"

namespace tunevale {

/// One announcement within the process. There are no senders.
struct Notification {
  std::string name;
  std::optional<PlistDictionary> userInfo;
};

/// Announces by name to whoever observes that name. Main queue only.
class NotificationCenter {
 public:
  using Handler = std::function<void(const Notification&)>;
  virtual ~NotificationCenter() = default;

  /// Calls the handler for every later post of the name while the observer lives. The observer is not kept
  /// alive between posts, and is during its handler. Observing a name twice calls twice.
  virtual void addObserver(std::weak_ptr<const void> observer, std::string_view name, Handler handler) = 0;
  /// Ends every observation of the name by that observer, also one that the current post has not reached yet.
  /// May be called from the observer's destructor.
  virtual void removeObserver(const void* observer, std::string_view name) = 0;
  /// Calls the observers of the name at once, in the order in which they came.
  virtual void postNotificationName(std::string_view name,
                                    std::optional<PlistDictionary> userInfo = std::nullopt) = 0;
};

}  // namespace tunevale
