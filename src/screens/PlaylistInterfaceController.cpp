#include "screens/PlaylistInterfaceController.h"

#include <unordered_set>

#include "foundation/Description.h"
#include "platform/Connections.h"
#include "platform/Platform.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceImage.h"
#include "platform/WKInterfaceLabel.h"
#include "platform/WKInterfaceTable.h"
#include "screens/SongRowController.h"
#include "screens/StoredChart.h"
#include "util/PlayRequests.h"
#include "util/ShownLimits.h"
#include "util/WatchUtil.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

using namespace WatchUtil;

namespace {

// Bytes of a song's identifier. Hashing one long text a hundred thousand times would take minutes, and no
// song is called that.
constexpr std::size_t kLongestId = 1024;

}  // namespace

void PlaylistInterfaceController::connect(Connections& connections) {
  connections.outlet("playlistTable", playlistTable);
  connections.outlet("playlistImage", playlistImage);
  connections.outlet("backgroundGroup", backgroundGroup);
  connections.outlet("languageLabel", languageLabel);
  connections.outlet("playButtonGroup", playButtonGroup);
  connections.action("playAllPressed", [this] { playAllPressed(); });
}

void PlaylistInterfaceController::awakeWithContext(const PlistValue* context) {
  WKInterfaceController::awakeWithContext(context);
  NotificationCenter& center = platform().defaultCenter;
  center.addObserver(weak_from_this(), kNotificationFetchedWeeklyTop15Data,
                     [this](const Notification& notification) { updateDataSource(notification); });
  center.addObserver(weak_from_this(), kNotificationFetchedPlaylistImage,
                     [this](const Notification&) { updatePlaylistHeader(); });
  songs = arrayOrEmpty(valueForKey(context, "dataSource"));
  if (songs.empty()) songs = storedWeeklyTop15(platform());
  if (songs.empty()) fetchAppDataFromPage(*this);
  logIfCut(songs, platform().log);
  updatePlaylistHeader();
  playButtonGroup->setBackgroundColor(kPlayColor);
  reloadData();
  updateCacheButton();
}

void PlaylistInterfaceController::willActivate() {
  WKInterfaceController::willActivate();
}

void PlaylistInterfaceController::didDeactivate() {
  WKInterfaceController::didDeactivate();
  const WKInterfaceController* const observer = this;
  platform().defaultCenter.removeObserver(observer, kNotificationFetchedWeeklyTop15Data);
  platform().defaultCenter.removeObserver(observer, kNotificationFetchedPlaylistImage);
}

void PlaylistInterfaceController::updateDataSource(const Notification& notification) {
  if (!notification.userInfo) return;
  const PlistValue* list = notification.userInfo->find("dataSource");
  if (!isNonEmptyArray(list)) return;
  songs = arrayOrEmpty(list);
  logIfCut(songs, platform().log);
  reloadData();
}

void PlaylistInterfaceController::updatePlaylistHeader() {
  playlistImage->setImageNamed("wt15_art");
  backgroundGroup->setBackgroundImageNamed("wt15_bg");
  const std::string language = capitalizedUserLanguage(platform());
  if (language.empty()) return;
  languageLabel->setText(language + "  \u2022  " + std::to_string(shownCount(songs)) + " songs");
}

void PlaylistInterfaceController::reloadData() {
  playlistTable->setNumberOfRows(shownCount(songs), "SongRow");
  const auto cachedSongs = platform().standardUserDefaults.objectForKey(kUserCachedSongs);
  std::unordered_set<std::string_view> cached;
  for (const PlistValue& pid : arrayOrEmpty(valueOrNull(cachedSongs))) {
    if (const auto text = pid.string(); text && text->size() <= kLongestId) cached.insert(*text);
  }
  const auto screen = std::static_pointer_cast<PlaylistInterfaceController>(shared_from_this());
  for (std::size_t i = 0; i < shownCount(songs); ++i) {
    const PlistValue* song = songs.at(i);
    auto* row = playlistTable->rowControllerAtIndex<SongRowController>(i);
    if (row == nullptr) continue;
    const PlistValue title(textToClean(valueForKey(song, "title")));
    const PlistValue album(textToClean(valueForKey(valueForKey(song, "more_info"), "album")));
    row->songName->setText(convertHTMLEntities(&title));
    row->songMeta->setText(convertHTMLEntities(&album));
    row->songData = dictionaryOrEmpty(song);
    const PlistValue* pid = valueForKey(song, "id");
    const auto text = pid == nullptr ? std::nullopt : pid->string();
    row->downloadButton->setHidden(text && text->size() <= kLongestId && cached.contains(*text));
    row->parent = screen;
  }
}

void PlaylistInterfaceController::updateCacheButton() {
  platform().defaultSession.sendMessage(
      {{kRequestKey, "cachedSongList"}, {"songs", songs}},
      [this, kept = shared_from_this()](const PlistDictionary& reply) {
        const PlistValue* pids = reply.find("pids");
        platform().standardUserDefaults.setObject(
            pids == nullptr ? std::nullopt : std::optional<PlistValue>(*pids), kUserCachedSongs);
        if (isNonEmptyArray(pids)) reloadData();
      },
      [](const SessionError&) {});
}

void PlaylistInterfaceController::tableDidSelectRowAtIndex(WKInterfaceTable& /*table*/,
                                                           std::size_t rowIndex) {
  platform().log.write("rowIndex:" + std::to_string(rowIndex));
  platform().log.write("Selected Dict: " + description(songs.at(rowIndex)));
  playSongAtIndex(static_cast<int>(rowIndex));
}

void PlaylistInterfaceController::playAllPressed() {
  flashPlayButton(*this, *playButtonGroup);
  playSongAtIndex(0);
}

void PlaylistInterfaceController::playSongAtIndex(int index) {
  if (songs.empty()) return showEmptyDataErrorAlert(*this);
  if (!phoneIsReady(*this)) return;
  const auto kept = shared_from_this();
  platform().defaultSession.sendMessage(
      {{kRequestKey, "playWeeklyTop15"}, {"data", songs}, {"currentPosition", std::to_string(index)}},
      [this, kept](const PlistDictionary& reply) {
        platform().log.write("Reply message : " + description(reply));
        const PlistValue* error = reply.find("error");
        if (isNonEmptyString(error)) {
          showAlert(stringOrEmpty(error), *this);
        } else {
          pushControllerWithName("PlayerHomeView", PlistDictionary());
        }
      },
      [this, kept](const SessionError& error) {
        platform().log.write("Error handling message: " + description(error.description));
      });
}

std::string PlaylistInterfaceController::convertHTMLEntities(const PlistValue* text) const {
  return WatchUtil::convertHTMLEntities(text);
}

}  // namespace tunevale
