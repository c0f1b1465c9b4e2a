#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "link/Strand.h"
#include "phone/ArtworkPushes.h"
#include "phone/Errand.h"
#include "phone/PhoneState.h"
#include "phone/Traffic.h"

namespace tunevale::phone {

/// What the phone sends of its own accord. Callers say what they want sent; pump() sends what may go now,
/// each thing in its latest form. The order is what makes it come out right on the watch:
/// - a chart goes as message data and, once the watch has handled that, as application context: the watch
/// keeps
///   both under one name, and its screens can read only the form of the latter;
/// - stations and artwork follow the chart, for a chart in another language empties them;
/// - one context waits for the one before, for a later context would replace it.
class Pushes {
 public:
  enum class Thing { nowPlaying, volume, chart, chartContext, cachedContext, stations, chartUserInfo };

  /// `wake` is called when something may go after a wait; it calls pump().
  Pushes(link::Strand& strand, Traffic& traffic, const PhoneState& state, std::function<void()> wake);

  /// Of the phone's own accord: nothing while the switch for that is off.
  void want(Thing thing);
  void wantEverything();
  /// Because somebody said so.
  void demand(Thing thing);
  void demandArtwork() { artwork_.wantAll(false); }
  void demandNowPlaying();

  void linkStateDidChange(const link::LinkState& before);
  void watchSaidHello();
  void watchAcknowledgedChart();
  void watchPurgedCache();
  void watchChangedVolume();
  /// Sees whether something else plays than before, or not any more.
  void followPlayer();

  void pump();

 private:
  Errand& errand(Thing thing) { return things_[static_cast<std::size_t>(thing)]; }
  void sendNowPlaying();
  void sendVolume();
  void sendChart();
  void chartIsDone(const Outcome& outcome);
  void sendChartUserInfo();
  void sendStations();
  void sendContexts();
  void sendContext(Thing thing, PlistDictionary context, std::string what);
  /// Notes down what became of a thing.
  void finish(Thing thing, const Outcome& outcome);
  void retryLater();
  void revive(bool afresh);

  link::Strand& strand_;
  Traffic& traffic_;
  const PhoneState& state_;
  std::function<void()> wake_;
  std::array<Errand, 7> things_;
  ArtworkPushes artwork_;

  std::uint64_t charts_ = 0;
  bool chartIsOpen_ = false;  // the last one was sent, and not yet handled by the watch
  const std::string run_;     // of this phone, so that no context equals one of a former run
  std::uint64_t contexts_ = 0;
  Thing contextThing_ = Thing::chartContext;  // on its way, if any is
  int contextsOnTheirWay_ = 0;

  std::optional<std::string> servedRun_;     // of the watch that everything was wanted for
  bool saidHello_ = false;                   // by that run
  std::optional<link::Time> helloAhead_;     // before the link told of the run
  std::optional<PlistDictionary> reported_;  // what plays, as last wanted
  bool reportedPlaying_ = false;

  std::unique_ptr<link::Timer> retryTimer_;
  std::unique_ptr<link::Timer> volumeTimer_;
};

}  // namespace tunevale::phone
