#pragma once

#include <string_view>

/// The words that watch and phone, and the rooms of the watch, share. The values are what crosses the link or
/// lies in user defaults, so none may change on one side alone.
namespace tunevale {

// Notifications: posted on the main queue.
inline constexpr std::string_view kNotificationFetchedWeeklyTop15Data =
    "com.tunevaleWatch.playlist.weeklytop15.data";
inline constexpr std::string_view kNotificationFetchedNowPlayingData =
    "com.tunevaleWatch.player.nowplayingchange";
inline constexpr std::string_view kNotificationFetchedNowPlayingImage =
    "com.tunevaleWatch.player.nowplayingchange.image";
inline constexpr std::string_view kNotificationFetchedPlaylistImage =
    "com.tunevaleWatch.playlist.fetchedImage";
inline constexpr std::string_view kNotificationFetchedRadioImage = "com.tunevaleWatch.radio.fetchedImage";
inline constexpr std::string_view kNotificationFetchedDeviceVolume = "com.tunevaleWatch.device.volume";

// User defaults, some of them payload keys and request names too.
inline constexpr std::string_view kUserLanguage = "kUserLanguage";  // lower case
inline constexpr std::string_view kUserFetchDataAlert = "kUserFetchDataAlert";
inline constexpr std::string_view kReceiveDeviceVolume = "volume";
inline constexpr std::string_view kReceiveWeeklyTop15 = "weekly_top_15";
inline constexpr std::string_view kReceiveWeeklyTop15Data = "weekly_top_15_data";
inline constexpr std::string_view kReceiveRadioStations = "radio_stations";
inline constexpr std::string_view kUserCachedSongs = "cached_list_pids";
inline constexpr std::string_view kUserNowPlayingSong = "nowPlayingSong";

// Requests to the phone: the value under "request".
inline constexpr std::string_view kRequestKey = "request";
inline constexpr std::string_view kRequestFeaturedRadios = "featured_radios";
inline constexpr std::string_view kRequestAppData = "fetch_app_data";

// Artwork. The directory is appended to the home directory as it stands.
inline constexpr std::string_view kImageWeeklyTop15 = "weekly_top_15.png";
inline constexpr std::string_view kImageWeeklyTop15Blurred = "weekly_top_15_blur.png";
inline constexpr std::string_view kImageCacheDirectory = "/Documents/ImageCache/";

// What a person reads in an alert.
inline constexpr std::string_view kAlertDataError =
    "Oops, something went wrong. Please re-launch Tunevale on your device then try again.";
inline constexpr std::string_view kAlertNotReachable =
    "Oops something went wrong. Please open Tunevale on your device first then try again.";
inline constexpr std::string_view kAlertNotPaired = "Please unlock your device then try again";
inline constexpr std::string_view kAlertNotActivated = "Oops, something went wrong. Please try again later.";
inline constexpr std::string_view kAlertFetchingData = "Hang on tight while we get your music.";

}  // namespace tunevale
