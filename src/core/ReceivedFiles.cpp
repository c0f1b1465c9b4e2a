#include <utility>

#include "core/ExtensionDelegate.h"
#include "foundation/Description.h"
#include "platform/Platform.h"
#include "platform/WKInterfaceController.h"
#include "radio/RadioManager.h"
#include "util/Alerts.h"
#include "util/ArtworkPath.h"
#include "util/TextCleaning.h"
#include "util/ValueChecks.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

using namespace WatchUtil;

namespace {

/// As RFC 8089 writes an absolute path.
std::string fileURL(std::string_view path) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~!$&'()*+,;=:@/";
  std::string url = "file://";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (kPlain.find(c) != std::string_view::npos) {
      url += c;
    } else {
      (url += '%').append({kDigits[byte >> 4], kDigits[byte & 15U]});
    }
  }
  return url;
}

/// Decodes and encodes anew, so that only what an own encoder wrote is kept.
std::optional<Bytes> pngOfFile(Platform& platform, const std::string& path) {
  const auto contents = platform.fileManager.contentsAtPath(path);
  const ImagePtr image = contents ? platform.imageCodec.imageWithData(*contents) : nullptr;
  return image ? platform.imageCodec.pngRepresentation(*image) : std::nullopt;
}

}  // namespace

void ExtensionDelegate::sessionDidReceiveFile(PhoneSession&, const ReceivedFile& file) {
  platform_.log.write("Receiving File:" + fileURL(file.path));
  if (const auto error = platform_.fileManager.checkResourceIsReachable(file.path)) {
    platform_.log.write(" image not available at Error: " + description(error->description));
    return;
  }
  const PlistDictionary& metadata = file.metadata;
  // A marked file that lacks its name is dropped; it is never taken for the now-playing artwork.
  if (isNonEmptyString(metadata.find("radio_image"))) {
    const std::string_view title = stringOrEmpty(metadata.find("radio_title"));
    if (!title.empty()) writeImageURLToCache(file.path, getValidFileNameForRadio(title));
  } else if (isNonEmptyString(metadata.find("playlist_image"))) {
    const std::string name(stringOrEmpty(metadata.find("image_name")));
    if (name.empty()) return;
    writeImageURLToCache(file.path, name + ".png");
    announce(kNotificationFetchedPlaylistImage, metadata);
  } else {
    takeNowPlayingImage(file.path);
  }
}

void ExtensionDelegate::takeNowPlayingImage(const std::string& path) {
  if (!nowPlayingSong()) {
    platform_.log.write("This should not happen");
    return;
  }
  const auto contents = platform_.fileManager.contentsAtPath(path);
  ImagePtr image = contents ? platform_.imageCodec.imageWithData(*contents) : nullptr;
  // Artwork is only ever replaced: a file that is no image leaves the last one.
  if (image) setCurrentMediaImage(std::move(image));
  announce(kNotificationFetchedNowPlayingImage);
}

void ExtensionDelegate::writeImageURLToCache(const std::string& source, std::string_view withName) {
  const auto logFailure = [this](const std::string& why) {
    platform_.log.write("Error writing File: " + why);
  };
  FileManager& files = platform_.fileManager;
  const std::string directory = artworkDirectory(platform_.homeDirectory);
  if (!files.fileExistsAtPath(directory)) files.createDirectoryAtPath(directory);
  const auto target = artworkPath(platform_.homeDirectory, withName);
  if (!target) return logFailure("no file name: " + description(withName));
  if (files.fileExistsAtPath(*target)) return;

  const auto png = pngOfFile(platform_, source);
  // Without an image there is nothing to write, and no file error to tell of.
  if (!png) return logFailure("(null)");
  files.makeRoom(png->size(), directory, kArtworkLimits);
  if (const auto error = files.writeAtomically(*png, *target)) {
    return logFailure(description(error->description));
  }
  // The picture as it lies in the cache: what was decoded is gone before the next one comes.
  RadioManager::sharedManager(platform_).addImageToCache(
      platform_.imageCodec.imageWithContentsOfFile(*target), withName);
}

void ExtensionDelegate::purgeCache() {
  {
    const MutexLock lock(purgeMutex_);
    const auto error = platform_.fileManager.removeItemAtPath(artworkDirectory(platform_.homeDirectory));
    if (error) platform_.log.write("Unable to purge image cache : " + description(error->description));
  }
  RadioManager::sharedManager(platform_).removeRadioData();
  platform_.defaultSession.sendMessage(
      {{kRequestKey, "watch_purged_cache"}}, [](const PlistDictionary&) {}, [](const SessionError&) {});
}

void ExtensionDelegate::downloadSong(const PlistDictionary& song, WKInterfaceController& withParent) {
  if (song.empty() || !platform_.defaultSession.isSupported()) return;
  platform_.defaultSession.sendMessage(
      {{kRequestKey, "downloadSong"}, {"data", song}},
      [screen = withParent.shared_from_this()](const PlistDictionary& reply) {
        // The words are the phone's; a reply without words shows an alert without.
        if (!reply.empty()) showAlert(stringOrEmpty(reply.find("downloadSong")), *screen);
      },
      [&log = platform_.log](const SessionError& error) {
        log.write("Error handling message: " + description(error.description));
      });
}

void ExtensionDelegate::sessionDidFinishUserInfoTransfer(PhoneSession&, const UserInfoTransfer&,
                                                         const std::optional<SessionError>& error) {
  if (error) platform_.log.write("Error:" + description(error->description));
}

}  // namespace tunevale
