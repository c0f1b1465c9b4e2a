#pragma once

#include <functional>
#include <string>
#include <vector>

#include "phone/Artwork.h"
#include "phone/Errand.h"
#include "phone/PhoneState.h"
#include "phone/Traffic.h"

namespace tunevale::phone {

/// The artwork files: of the chart, of every station, and of what plays.
class ArtworkPushes {
 public:
  /// `failed` is called when a file could not be sent and should be tried again before long.
  ArtworkPushes(Traffic& traffic, const PhoneState& state, std::function<void()> failed);

  /// Chart and stations. What is on its way already is sent once more only if the watch has just thrown away
  /// what it had.
  void wantAll(bool thrownAway);
  void wantNowPlaying() { nowPlaying_.want(); }
  void pump();
  void revive(bool afresh);

 private:
  struct Picture {
    std::string what;
    std::string name;  // that it is drawn from; "": the chart
    bool blurred = false;
    PictureFormat format = PictureFormat::jpeg;
    PlistDictionary metadata;
    Errand errand;
  };

  void addStations(const PlistDictionary& lists, std::string_view kind, PictureFormat format);
  void send(Picture& picture);
  void sendNowPlaying();

  Traffic& traffic_;
  const PhoneState& state_;
  std::function<void()> failed_;
  std::vector<Picture> pictures_;
  Errand nowPlaying_;
  int onTheirWay_ = 0;
};

}  // namespace tunevale::phone
