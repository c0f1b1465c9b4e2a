#include "phone/ArtworkPushes.h"

#include <utility>

#include "phone/Catalogue.h"

namespace tunevale::phone {

namespace {

/// Files that are under way at a time: enough to fill the link, few enough that the picture of a song that
/// begins to play need not wait for all stations.
constexpr int kMostOnTheirWay = 4;

}  // namespace

ArtworkPushes::ArtworkPushes(Traffic& traffic, const PhoneState& state, std::function<void()> failed)
    : traffic_(traffic), state_(state), failed_(std::move(failed)) {
  for (const bool blurred : {false, true}) {
    const PlistDictionary metadata{{"playlist_image", "weekly_top_15"},
                                   {"image_name", blurred ? "weekly_top_15_blur" : "weekly_top_15"}};
    pictures_.push_back({"chart_artwork", "", blurred, PictureFormat::jpeg, metadata, {}});
  }
  const PlistDictionary lists = stationLists();
  addStations(lists, "featured", PictureFormat::jpeg);
  addStations(lists, "artist", PictureFormat::png);
}

void ArtworkPushes::addStations(const PlistDictionary& lists, std::string_view kind, PictureFormat format) {
  for (const PlistValue& station : *lists.find(kind)->array()) {
    const PlistDictionary metadata{{"radio_image", kind},
                                   {"radio_title", textOf(*station.dictionary(), "title")}};
    pictures_.push_back(
        {"station_artwork", std::string(artworkName(*station.dictionary())), false, format, metadata, {}});
  }
}

void ArtworkPushes::wantAll(bool thrownAway) {
  for (Picture& picture : pictures_) {
    if (thrownAway || !picture.errand.isOnItsWay()) picture.errand.want();
  }
}

void ArtworkPushes::pump() {
  if (state_.link.reachable && nowPlaying_.take()) sendNowPlaying();
  for (Picture& picture : pictures_) {
    if (onTheirWay_ >= kMostOnTheirWay) return;
    if (picture.errand.take()) send(picture);
  }
}

void ArtworkPushes::send(Picture& picture) {
  const Artwork artwork(picture.name.empty() ? "chart-" + state_.language : picture.name);
  const Bytes file =
      picture.blurred ? artwork.encodedBlurred(picture.format) : artwork.encoded(picture.format);
  ++onTheirWay_;
  traffic_.file({picture.what, {}}, file, picture.metadata, [this, &picture](const Outcome& outcome) {
    --onTheirWay_;
    if (picture.errand.finish(outcome)) failed_();
  });
}

void ArtworkPushes::sendNowPlaying() {
  const PlistDictionary* song = state_.player.song();
  if (song == nullptr) {
    nowPlaying_.finish({});
    return;
  }
  // Neither of the marks that tell the other pictures: this one is for what plays.
  const PlistDictionary metadata{{"song_id", artworkName(*song)}};
  traffic_.file({"now_playing_artwork", {}}, Artwork(artworkName(*song)).encoded(PictureFormat::jpeg),
                metadata, [this](const Outcome& outcome) {
                  if (nowPlaying_.finish(outcome)) failed_();
                });
}

void ArtworkPushes::revive(bool afresh) {
  nowPlaying_.revive(afresh);
  for (Picture& picture : pictures_) picture.errand.revive(afresh);
}

}  // namespace tunevale::phone
