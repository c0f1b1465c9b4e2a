#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "platform/NotificationCenter.h"

namespace tunevale::host {

/// The notification centre of one process. Handlers may add and remove observers, drop them and post again:
/// an observer that is added during a post is not part of that post.
class LocalNotificationCenter : public NotificationCenter {
 public:
  void addObserver(std::weak_ptr<const void> observer, std::string_view name, Handler handler) override;
  void removeObserver(const void* observer, std::string_view name) override;
  void postNotificationName(std::string_view name, std::optional<PlistDictionary> userInfo) override;
  /// How many observations there are whose observers live.
  std::size_t observerCount() const;

 private:
  struct Observation {
    const void* identity;  // still known in the observer's destructor
    std::weak_ptr<const void> observer;
    Handler handler;
    bool removed = false;
  };
  using Observations = std::vector<std::shared_ptr<Observation>>;

  std::map<std::string, Observations, std::less<>> observations_;
};

}  // namespace tunevale::host
