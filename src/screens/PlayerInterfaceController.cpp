#include "screens/PlayerInterfaceController.h"

#include <vector>

#include "core/ExtensionDelegate.h"
#include "foundation/KeyedArchive.h"
#include "platform/Connections.h"
#include "platform/Platform.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceLabel.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceSlider.h"
#include "screens/StoredChart.h"
#include "util/WatchUtil.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

using namespace WatchUtil;

namespace {

bool isPlaying(const PlistValue* record) {
  return stringOrEmpty(valueForKey(record, "status")) == "playing";
}

}  // namespace

PlayerInterfaceController::~PlayerInterfaceController() {
  // Observers are known by the address of the base, which is what their weak pointer holds.
  const WKInterfaceController* const observer = this;
  NotificationCenter& center = platform().defaultCenter;
  center.removeObserver(observer, kNotificationFetchedNowPlayingData);
  center.removeObserver(observer, kNotificationFetchedNowPlayingImage);
  center.removeObserver(observer, kNotificationFetchedDeviceVolume);
}

void PlayerInterfaceController::connect(Connections& connections) {
  connections.outlet("bgGroupView", bgGroupView);
  connections.outlet("songTitleLabel", songTitleLabel);
  connections.outlet("songMetaLabel", songMetaLabel);
  connections.outlet("controlGroupView", controlGroupView);
  connections.outlet("playButtonGroup", playButtonGroup);
  connections.outlet("prevButton", prevButton);
  connections.outlet("playButton", playButton);
  connections.outlet("nextButton", nextButton);
  connections.outlet("volumeGroupView", volumeGroupView);
  connections.outlet("volumeSlider", volumeSlider);
  connections.outlet("volumePicker", volumePicker);
  connections.action("prevSong", [this] { prevSong(); });
  connections.action("playSong", [this] { playSong(); });
  connections.action("nextSong", [this] { nextSong(); });
  connections.pickerAction("pickerChanged", [this](int index) { pickerChanged(index); });
}

void PlayerInterfaceController::awakeWithContext(const PlistValue* context) {
  WKInterfaceController::awakeWithContext(context);
  NotificationCenter& center = platform().defaultCenter;
  center.addObserver(weak_from_this(), kNotificationFetchedNowPlayingData,
                     [this](const Notification& notification) { updatePlayerDataSource(notification); });
  center.addObserver(weak_from_this(), kNotificationFetchedNowPlayingImage,
                     [this](const Notification& notification) { updateImageSource(&notification); });
  center.addObserver(weak_from_this(), kNotificationFetchedDeviceVolume,
                     [this](const Notification& notification) { updateDeviceVolume(notification); });

  if (stringOrEmpty(valueForKey(context, "view_type")) == "modal") setTitle("< Player");

  ExtensionDelegate& delegate = ExtensionDelegate::shared(platform());
  const PlistValue* song = valueForKey(context, "data");
  if (isNonEmptyDictionary(song)) {
    currentSong_ = *song;
    platform().standardUserDefaults.setObject(*song, kUserNowPlayingSong);
    updatePlayer(isPlaying(context));
  } else if (const auto playing = delegate.nowPlayingSong(); playing && !playing->empty()) {
    currentSong_ = *playing;
    updatePlayer(delegate.isPlayingMedia());
  } else {
    // The play mode stays unknown here, other than when the phone says that its queue is empty.
    showPlaceholder();
  }
  preparePicker();
}

void PlayerInterfaceController::willActivate() {
  WKInterfaceController::willActivate();
  platform().defaultSession.sendMessage(
      {{kRequestKey, "currentPlayingSong"}},
      [this, kept = shared_from_this()](const PlistDictionary& reply) { takeReply(reply); },
      [](const SessionError&) {});
}

void PlayerInterfaceController::didDeactivate() {
  WKInterfaceController::didDeactivate();
}

void PlayerInterfaceController::takeReply(const PlistDictionary& reply) {
  const auto answer = unarchiveObjectWithData(reply.find("currentPlayingSong"));
  const PlistValue* song = valueForKey(valueOrNull(answer), "songInfo");
  if (!isNonEmptyDictionary(song)) return;
  showingPlaceholder_ = false;
  currentSong_ = *song;
  updatePlayer(isPlaying(valueOrNull(answer)));
}

void PlayerInterfaceController::updatePlayerDataSource(const Notification& notification) {
  if (!notification.userInfo || notification.userInfo->empty()) return;
  const PlistValue info(*notification.userInfo);
  const PlistValue* song = valueForKey(&info, "data");
  currentSong_ = song == nullptr ? PlistValue() : *song;
  if (isPlaying(&info)) {
    updatePlayer(true);
  } else if (stringOrEmpty(valueForKey(&info, "status")) == "empty") {
    ExtensionDelegate::shared(platform()).forgetSongOfEmptiedQueue();
    if (showPlaceholder()) showMode(kPaused);
  } else {
    updatePlayer(false);
  }
}

void PlayerInterfaceController::updateImageSource(const Notification* /*notification*/) {
  const ImagePtr artwork = ExtensionDelegate::shared(platform()).currentMediaImage();
  if (artwork) bgGroupView->setBackgroundImage(artwork);
}

void PlayerInterfaceController::updatePlayer(bool playing) {
  std::string title;
  std::string meta;
  if (isNonEmptyDictionary(&currentSong_)) {
    if (stringOrEmpty(valueForKey(&currentSong_, "type")) == "episode") {
      title = convertHTMLEntities(textToClean(getNameForEpisode(&currentSong_)));
      meta = convertHTMLEntities(textToClean(getShowNameForEpisode(&currentSong_))) +
             getSeasonNameForEpisode(&currentSong_, true);
    } else {
      title = convertHTMLEntities(textToClean(getNameForSong(&currentSong_)));
      meta = convertHTMLEntities(textToClean(getAlbumForSong(&currentSong_))) +
             getBestArtist(&currentSong_, true);
    }
  }
  songTitleLabel->setText(title);
  songMetaLabel->setText(meta);
  showMode(playing ? kPlaying : kPaused);
  updateImageSource();
}

void PlayerInterfaceController::updateButtonStates(bool enabled) {
  nextButton->setEnabled(enabled);
  prevButton->setEnabled(enabled);
  playButton->setEnabled(enabled);
}

void PlayerInterfaceController::resetMode() {
  showMode(kUnknown);
}

void PlayerInterfaceController::showMode(std::uint32_t mode) {
  mode_ = mode;
  playButton->setBackgroundImageNamed(mode == kPlaying ? "Pause" : "Play");
}

/// Offers the stored chart, if there is one; otherwise what is shown stays.
bool PlayerInterfaceController::showPlaceholder() {
  weeklyTop15Data_ = storedWeeklyTop15(platform());
  if (weeklyTop15Data_.empty()) return false;
  showingPlaceholder_ = true;
  songTitleLabel->setText("Weekly Top 15");
  const std::string language = capitalizedUserLanguage(platform());
  songMetaLabel->setText(language.empty() ? "Hindi" : language);
  return true;
}

}  // namespace tunevale
