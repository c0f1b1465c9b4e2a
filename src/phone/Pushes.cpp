#include "phone/Pushes.h"

#include <chrono>
#include <utility>

#include "foundation/KeyedArchive.h"
#include "phone/Catalogue.h"

namespace tunevale::phone {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kRetryDelay{1000};
/// After the last request of the watch to change the volume. By then the watch has sent what its crown had in
/// store, so that what comes back is what both agree on.
constexpr milliseconds kVolumeSettles{300};
/// The watch says hello as soon as it is there; the link's own word may come a little later.
constexpr milliseconds kHelloAhead{1000};

Bytes archived(std::string_view key, PlistValue value) {
  return archivedDataWithRootObject(PlistDictionary{{key, std::move(value)}});
}

}  // namespace

Pushes::Pushes(link::Strand& strand, Traffic& traffic, const PhoneState& state, std::function<void()> wake)
    : strand_(strand),
      traffic_(traffic),
      state_(state),
      wake_(std::move(wake)),
      artwork_(traffic, state, [this] { retryLater(); }),
      run_(std::to_string(strand.random())) {}

void Pushes::want(Thing thing) {
  if (state_.switches.pushes) demand(thing);
}

void Pushes::demand(Thing thing) {
  errand(thing).want();
  // What the watch cannot take now it can at least find in its context when it comes.
  if (thing == Thing::chart && !state_.link.reachable) errand(Thing::chartContext).want();
}

void Pushes::wantEverything() {
  if (!state_.switches.pushes) return;
  for (const Thing thing : {Thing::volume, Thing::chart, Thing::cachedContext, Thing::stations})
    demand(thing);
  artwork_.wantAll(false);
  if (state_.player.song() != nullptr) demandNowPlaying();
}

void Pushes::demandNowPlaying() {
  demand(Thing::nowPlaying);
  artwork_.wantNowPlaying();
}

void Pushes::linkStateDidChange(const link::LinkState& before) {
  const link::LinkState& now = state_.link;
  if (now.connected && servedRun_ != now.peerRun) {
    const bool served = helloAhead_ && strand_.now() - *helloAhead_ < kHelloAhead;
    servedRun_ = now.peerRun;
    saidHello_ = served;
    if (!served) wantEverything();
  }
  helloAhead_.reset();
  if (now.reachable && !before.reachable) revive(true);
}

void Pushes::watchSaidHello() {
  const bool served = servedRun_ == state_.link.peerRun && !saidHello_;
  saidHello_ = true;
  if (served) return;
  helloAhead_ = strand_.now();
  wantEverything();
}

void Pushes::watchPurgedCache() {
  if (!state_.switches.pushes) return;
  demand(Thing::stations);
  artwork_.wantAll(true);
}

void Pushes::watchChangedVolume() {
  volumeTimer_ = strand_.after(kVolumeSettles, [this] {
    want(Thing::volume);
    wake_();
  });
}

void Pushes::followPlayer() {
  const PlistDictionary* song = state_.player.song();
  const std::optional<PlistDictionary> current = song == nullptr ? std::nullopt : std::optional(*song);
  const bool another = current != reported_;
  if (another || state_.player.isPlaying() != reportedPlaying_) want(Thing::nowPlaying);
  if (another && current && state_.switches.pushes) artwork_.wantNowPlaying();
  reported_ = current;
  reportedPlaying_ = state_.player.isPlaying();
}

void Pushes::pump() {
  if (state_.link.reachable) {
    if (errand(Thing::nowPlaying).takeAgain()) sendNowPlaying();
    if (errand(Thing::volume).takeAgain()) sendVolume();
    if (errand(Thing::chart).take()) sendChart();
  }
  if (chartIsOpen_) return;
  sendContexts();
  if (errand(Thing::chartUserInfo).take()) sendChartUserInfo();
  if (state_.link.reachable && errand(Thing::stations).take()) sendStations();
  artwork_.pump();
}

void Pushes::sendNowPlaying() {
  const auto done = [this](const Outcome& outcome) { finish(Thing::nowPlaying, outcome); };
  const Player& player = state_.player;
  if (player.song() == nullptr) {
    traffic_.message({"queue_empty", {}}, {{"request", "queue_empty"}}, done);
  } else if (player.isPlaying()) {
    const PlistDictionary playing{{"appPlaying", *player.song()}, {"volume", player.volume()}};
    traffic_.messageData({"now_playing", {}}, archivedDataWithRootObject(playing), done);
  } else {
    traffic_.messageData({"now_playing", {}}, archived("appPaused", *player.song()), done);
  }
}

void Pushes::sendVolume() {
  traffic_.message({"volume", {}}, {{"request", "volume"}, {"value", state_.player.volume()}},
                   [this](const Outcome& outcome) { finish(Thing::volume, outcome); });
}

void Pushes::sendChart() {
  chartIsOpen_ = true;
  traffic_.messageData({"chart", {}}, archived("weekly_top_15", chartRecord(state_.language)),
                       [this, number = ++charts_](const Outcome& outcome) {
                         if (number == charts_) chartIsDone(outcome);
                       });
}

void Pushes::watchAcknowledgedChart() {
  chartIsDone({});
}

void Pushes::chartIsDone(const Outcome& outcome) {
  if (!chartIsOpen_) return;
  chartIsOpen_ = false;
  finish(Thing::chart, outcome);
  demand(Thing::chartContext);
}

void Pushes::sendChartUserInfo() {
  traffic_.userInfo({"chart_user_info", {}}, {{"weekly_top_15", chartRecord(state_.language)}},
                    [this](const Outcome& outcome) {
                      finish(Thing::chartUserInfo, outcome);
                      demand(Thing::chartContext);
                    });
}

void Pushes::sendStations() {
  traffic_.messageData({"stations", {}}, archived("radio_stations", stationLists()),
                       [this](const Outcome& outcome) { finish(Thing::stations, outcome); });
}

void Pushes::sendContexts() {
  const auto mayGo = [this](Thing thing) {
    return errand(thing).isWanted() && (contextsOnTheirWay_ == 0 || contextThing_ == thing);
  };
  if (mayGo(Thing::chartContext)) {
    sendContext(Thing::chartContext,
                {{"weekly_top_15", archivedDataWithRootObject(chartRecord(state_.language))}},
                "chart_context");
  } else if (mayGo(Thing::cachedContext)) {
    sendContext(Thing::cachedContext, {{"cachedSongList", true}, {"pids", state_.cachedIds()}},
                "cached_context");
  }
}

void Pushes::sendContext(Thing thing, PlistDictionary context, std::string what) {
  errand(thing).takeAgain();
  contextThing_ = thing;
  ++contextsOnTheirWay_;
  // A context that equals the last one is not delivered, and yet the watch may have stored another form
  // since.
  context.set("push", run_ + "-" + std::to_string(++contexts_));
  traffic_.context({std::move(what), {}}, context, [this, thing](const Outcome& outcome) {
    --contextsOnTheirWay_;
    finish(thing, outcome);
  });
}

void Pushes::finish(Thing thing, const Outcome& outcome) {
  if (errand(thing).finish(outcome)) retryLater();
}

void Pushes::retryLater() {
  if (retryTimer_) return;
  retryTimer_ = strand_.after(kRetryDelay, [this] {
    retryTimer_.reset();
    revive(false);
    wake_();
  });
}

void Pushes::revive(bool afresh) {
  for (Errand& thing : things_) thing.revive(afresh);
  artwork_.revive(afresh);
}

}  // namespace tunevale::phone
