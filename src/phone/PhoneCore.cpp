#include "phone/PhoneCore.h"

#include <algorithm>
#include <utility>

#include <boost/json.hpp>

#include "phone/Catalogue.h"
#include "phone/ConsoleState.h"

namespace tunevale::phone {

namespace {

/// Of each chart, so that a fresh watch shows songs with a download button and without.
constexpr std::size_t kCachedAtFirst[] = {0, 3, 7, 12};

}  // namespace

PhoneCore::PhoneCore(link::Strand& strand, WatchLink& link, PhoneObserver& observer,
                     const PhoneSettings& settings)
    : state([&strand] { return strand.now(); }),
      events(observer),
      traffic(strand, link, events, [this] { settle(); }),
      pushes(strand, traffic, state, [this] { settle(); }),
      requests(state, pushes),
      commands(state, pushes, traffic, events, link, observer),
      strand_(strand),
      observer_(observer) {
  state.language = isCatalogueLanguage(settings.language) ? settings.language : PhoneSettings().language;
  state.switches.pushes = settings.pushes;
  state.player.setVolume(settings.volume);
  if (settings.queued) state.player.load(chartSongs(state.language), 0);
  for (const std::string_view language : catalogueLanguages()) {
    const PlistArray songs = chartSongs(language);
    for (const std::size_t i : kCachedAtFirst) state.cached.emplace(textOf(*songs.at(i)->dictionary(), "id"));
  }
}

void PhoneCore::settle() {
  catchUp();
  pushes.followPlayer();
  pushes.pump();
  armSongTimer();
  boost::json::object now = stateObject(state);
  std::string told = boost::json::serialize(now);
  const bool changed = told != toldState_;
  if (changed) {
    toldState_ = std::move(told);
    events.emit("state", std::move(now));
  }
  if (changed || traffic.changes() != toldTraffic_) observer_.phoneDidChange();
  toldTraffic_ = traffic.changes();
}

void PhoneCore::armSongTimer() {
  songTimer_.reset();
  const auto end = state.player.nextDeadline();
  if (!end) return;
  songTimer_ = strand_.after(std::max(*end - strand_.now(), link::Duration(0)), [this] { settle(); });
}

}  // namespace tunevale::phone
