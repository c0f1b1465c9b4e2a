#include "host/LocalNotificationCenter.h"

#include <algorithm>
#include <iterator>

namespace tunevale::host {

namespace {

// Takes out what satisfies the test. The caller lets it go once the list is whole again, since what a handler
// holds may call back as it goes.
template <class List, class Test>
List extractIf(List& list, Test test) {
  const auto keep = [&](const auto& entry) { return !test(*entry); };
  const auto middle = std::stable_partition(list.begin(), list.end(), keep);
  List taken(std::make_move_iterator(middle), std::make_move_iterator(list.end()));
  list.erase(middle, list.end());
  return taken;
}

}  // namespace

void LocalNotificationCenter::addObserver(std::weak_ptr<const void> observer, std::string_view name,
                                          Handler handler) {
  auto place = observations_.find(name);
  if (place == observations_.end()) place = observations_.emplace(name, Observations()).first;
  const auto dead =
      extractIf(place->second, [](const Observation& entry) { return entry.observer.expired(); });
  const void* identity = observer.lock().get();
  place->second.push_back(
      std::make_shared<Observation>(Observation{identity, std::move(observer), std::move(handler)}));
}

void LocalNotificationCenter::removeObserver(const void* observer, std::string_view name) {
  const auto place = observations_.find(name);
  if (place == observations_.end()) return;
  const auto removed =
      extractIf(place->second, [&](const Observation& entry) { return entry.identity == observer; });
  for (const auto& entry : removed) entry->removed = true;
}

void LocalNotificationCenter::postNotificationName(std::string_view name,
                                                   std::optional<PlistDictionary> userInfo) {
  const auto place = observations_.find(name);
  if (place == observations_.end()) return;
  const auto dead =
      extractIf(place->second, [](const Observation& entry) { return entry.observer.expired(); });
  const Observations reached = place->second;
  const Notification notification{std::string(name), std::move(userInfo)};
  for (const auto& entry : reached) {
    if (entry->removed) continue;
    if (const auto alive = entry->observer.lock()) entry->handler(notification);
  }
}

std::size_t LocalNotificationCenter::observerCount() const {
  std::size_t count = 0;
  for (const auto& [name, entries] : observations_) {
    count += static_cast<std::size_t>(std::count_if(
        entries.begin(), entries.end(), [](const auto& entry) { return !entry->observer.expired(); }));
  }
  return count;
}

}  // namespace tunevale::host
