#include <exception>
#include <stdexcept>
#include <utility>

#include "core/ExtensionDelegate.h"
#include "foundation/Description.h"
#include "foundation/KeyedArchive.h"
#include "platform/Platform.h"
#include "radio/RadioManager.h"
#include "util/ValueChecks.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

using namespace WatchUtil;

namespace {

/// The songs with their origin marked. What is no dictionary is no song and is left out.
PlistArray songsOfWatch(const PlistArray& list) {
  PlistArray songs;
  songs.reserve(list.size());
  for (const PlistValue& song : list) {
    if (song.dictionary() == nullptr) continue;
    PlistDictionary marked = *song.dictionary();
    marked.set("source_view", "apple_watch");
    songs.append(std::move(marked));
  }
  return songs;
}

std::string_view languageOf(const PlistDictionary& chart, const PlistArray& songs) {
  const std::string_view language = stringOrEmpty(chart.find("language"));
  return language.empty() ? stringOrEmpty(valueForKey(songs.at(0), "language")) : language;
}

}  // namespace

void ExtensionDelegate::sessionDidReceiveMessage(PhoneSession&, const PlistDictionary& message,
                                                 const MessageReply& replyHandler) {
  const std::string_view request = stringOrEmpty(message.find(kRequestKey));
  bool done = false;
  if (request == kReceiveDeviceVolume) {
    // A volume message that brings no volume leaves the known one alone.
    const PlistValue* volume = message.find("value");
    done = volume == nullptr || volume->isNull() || storeVolume(*volume);
  } else if (request == "queue_empty") {
    nowPlaying_->emptyQueue();
    announce(kNotificationFetchedNowPlayingData, PlistDictionary{{"status", "empty"}});
  }
  // An emptied queue is taken and yet answered as a failure; phones count on it.
  if (replyHandler) replyHandler({{kRequestKey, done ? "success" : "failed"}});
}

void ExtensionDelegate::sessionDidReceiveMessageData(PhoneSession& session, ByteView messageData,
                                                     const DataReply&) {
  const std::optional<PlistValue> decoded = unarchiveObjectWithData(messageData);
  const PlistDictionary& data = dictionaryOrEmpty(valueOrNull(decoded));
  // The first of these keys that is there is the one that counts, even when its value is of no use.
  if (const PlistValue* chart = data.find(kReceiveWeeklyTop15)) {
    storeChart(session, dictionaryOrEmpty(chart));
  } else if (const PlistValue* stations = data.find(kReceiveRadioStations)) {
    if (!isNonEmptyDictionary(stations)) return;
    RadioManager::sharedManager(platform_).updateRadioInfo(stations);
    acknowledge(session, kReceiveRadioStations);
  } else if (const PlistValue* playing = data.find("appPlaying")) {
    takePlayState(true, *playing, data.find(kReceiveDeviceVolume));
  } else if (const PlistValue* paused = data.find("appPaused")) {
    takePlayState(false, *paused, nullptr);
  }
}

void ExtensionDelegate::sessionDidReceiveUserInfo(PhoneSession& session, const PlistDictionary& userInfo) {
  if (userInfo.empty()) return;
  const PlistValue* chart = userInfo.find(kReceiveWeeklyTop15);
  if (isNonEmptyDictionary(chart)) {
    storeChart(session, *chart->dictionary());
    return;
  }
  // Acknowledged whether or not stations came. They come here as bytes, which the store does not take.
  acknowledge(session, kReceiveRadioStations);
  const PlistValue* stations = userInfo.find(kReceiveRadioStations);
  if (isNonEmptyData(stations)) RadioManager::sharedManager(platform_).updateRadioInfo(stations);
}

void ExtensionDelegate::sessionDidReceiveApplicationContext(PhoneSession& session,
                                                            const PlistDictionary& context) {
  platform_.log.write("applicationContext:" + description(context));
  if (const PlistValue* archive = context.find(kReceiveWeeklyTop15)) {
    const std::optional<PlistValue> decoded = unarchiveObjectWithData(archive);
    const auto songs = takeChart(dictionaryOrEmpty(valueOrNull(decoded)));
    if (!songs) return;
    try {
      storeArchive(*songs);
    } catch (const std::exception& failure) {
      platform_.log.write("didReceiveApplicationContent desc:" + description(failure.what()));
    }
    // A context is acknowledged even so: the phone keeps it and would only send the same again.
    acknowledge(session, kReceiveWeeklyTop15);
    announceChart(*songs);
  } else if (context.find("cachedSongList") != nullptr) {
    const PlistValue* pids = context.find("pids");
    platform_.standardUserDefaults.setObject(pids == nullptr ? std::nullopt : std::optional(*pids),
                                             kUserCachedSongs);
  }
}

std::optional<PlistArray> ExtensionDelegate::takeChart(const PlistDictionary& chart) {
  if (chart.find("error") != nullptr) return std::nullopt;
  PlistArray songs = songsOfWatch(arrayOrEmpty(chart.find("list")));
  if (songs.empty()) return std::nullopt;
  takeLanguage(languageOf(chart, songs));
  return songs;
}

void ExtensionDelegate::takeLanguage(std::string_view language) {
  if (language.empty()) return;
  const std::string lowercase = platform_.letterCase.lowercaseString(language);
  const auto stored = platform_.standardUserDefaults.objectForKey(kUserLanguage);
  const std::string_view known = stringOrEmpty(valueOrNull(stored));
  if (known == lowercase) return;
  platform_.standardUserDefaults.setObject(PlistValue(lowercase), kUserLanguage);
  if (!known.empty()) purgeCache();
}

void ExtensionDelegate::storeChart(PhoneSession& session, const PlistDictionary& chart) {
  const auto songs = takeChart(chart);
  if (!songs) return;
  UserDefaults& defaults = platform_.standardUserDefaults;
  // What the phone believes to be kept survives whatever happens next; a chart that does not is only shown.
  const bool list = defaults.setObject(PlistValue(*songs), kReceiveWeeklyTop15);
  const bool record = defaults.setObject(PlistValue(chart), kReceiveWeeklyTop15Data);
  if (list && record && defaults.synchronizeAndWait()) acknowledge(session, kReceiveWeeklyTop15);
  announceChart(*songs);
}

void ExtensionDelegate::storeArchive(const PlistArray& songs) {
  const Bytes archive = archivedDataWithRootObject(songs);
  UserDefaults& defaults = platform_.standardUserDefaults;
  // Marking the songs may have taken them past what an archive may stand for.
  if (!unarchiveObjectWithData(archive) || !defaults.setObject(archive, kReceiveWeeklyTop15Data)) {
    throw std::length_error("the chart is too large to be kept");
  }
  if (!defaults.synchronizeAndWait()) throw std::runtime_error("the disk does not take the chart");
}

void ExtensionDelegate::announceChart(const PlistArray& songs) {
  announce(kNotificationFetchedWeeklyTop15Data, PlistDictionary{{"dataSource", songs}});
}

void ExtensionDelegate::acknowledge(PhoneSession& session, std::string_view request) {
  session.sendMessage(
      {{kRequestKey, request}, {"received", "success"}}, [](const PlistDictionary&) {},
      [](const SessionError&) {});
}

void ExtensionDelegate::takePlayState(bool playing, const PlistValue& song, const PlistValue* volume) {
  if (!nowPlaying_->report(playing, song)) return;
  // Announces the song of the moment when the block runs; the reported one when a screen has cleared it
  // since.
  platform_.mainQueue.async(
      [&center = platform_.defaultCenter, state = nowPlaying_, playing, reported = dictionaryOrEmpty(&song)] {
        center.postNotificationName(kNotificationFetchedNowPlayingData,
                                    PlistDictionary{{"status", playing ? "playing" : "paused"},
                                                    {"data", state->song().value_or(reported)}});
      });
  if (volume != nullptr && volume->number()) storeVolume(*volume);
}

bool ExtensionDelegate::storeVolume(const PlistValue& volume) {
  UserDefaults& defaults = platform_.standardUserDefaults;
  const bool kept = defaults.setObject(volume, kReceiveDeviceVolume) && defaults.synchronizeAndWait();
  announce(kNotificationFetchedDeviceVolume, PlistDictionary{{"volume", volume}});
  return kept;
}

void ExtensionDelegate::announce(std::string_view name, std::optional<PlistDictionary> userInfo) {
  platform_.mainQueue.async(
      [&center = platform_.defaultCenter, name = std::string(name), userInfo = std::move(userInfo)] {
        center.postNotificationName(name, userInfo);
      });
}

}  // namespace tunevale
