#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/NowPlaying.h"
#include "platform/PhoneSessionDelegate.h"
#include "platform/WKExtension.h"

namespace tunevale {

class WKInterfaceController;
struct Platform;

/// The one long-lived object of the extension: follows its lifecycle, receives everything that the phone
/// sends, and holds what the screens read of it. It must outlive the session's deliveries; blocks and
/// handlers that it leaves on the main queue do not use it, only the platform's services and the now-playing
/// state they share.
class ExtensionDelegate : public WKExtensionDelegate, public PhoneSessionDelegate {
 public:
  explicit ExtensionDelegate(Platform& platform);
  /// The delegate of the running extension. Throws std::logic_error when it has none of this class.
  static ExtensionDelegate& shared(Platform& platform);

  /// What the phone plays. Any thread; nothing is stored across launches.
  std::optional<PlistDictionary> nowPlayingSong() const { return nowPlaying_->song(); }
  void setNowPlayingSong(std::optional<PlistDictionary> song) { nowPlaying_->setSong(std::move(song)); }
  bool isPlayingMedia() const { return nowPlaying_->isPlaying(); }
  void setIsPlayingMedia(bool playing) { nowPlaying_->setIsPlaying(playing); }
  ImagePtr currentMediaImage() const { return nowPlaying_->image(); }
  void setCurrentMediaImage(ImagePtr image) { nowPlaying_->setImage(std::move(image)); }
  /// Forgets the song of an emptied queue, unless the phone has told of another since.
  void forgetSongOfEmptiedQueue() { nowPlaying_->forgetSong(); }

  /// Asks the phone to download a song and shows its answer on `withParent`, which lives until then. Does
  /// nothing for a song without entries. Main queue.
  void downloadSong(const PlistDictionary& song, WKInterfaceController& withParent);
  /// Puts an image file into the artwork cache, as PNG, and into the station store, unless the name is taken:
  /// the first artwork of a name stays until a purge. A failure is logged. Any thread.
  void writeImageURLToCache(const std::string& source, std::string_view withName);
  /// Empties the artwork cache and the station store and tells the phone. Any thread.
  void purgeCache();

  void applicationDidFinishLaunching() override;
  void applicationDidBecomeActive() override {}
  void applicationWillResignActive() override {}
  void applicationWillEnterForeground() override;
  void applicationDidEnterBackground() override;
  void handleBackgroundTasks(const std::vector<std::shared_ptr<WKRefreshBackgroundTask>>& tasks) override;

  void sessionActivationDidCompleteWithState(PhoneSession& session, ActivationState state,
                                             const std::optional<SessionError>& error) override;
  void sessionDidReceiveMessage(PhoneSession& session, const PlistDictionary& message,
                                const MessageReply& replyHandler) override;
  /// Never answers: what it takes is acknowledged by a request of its own.
  void sessionDidReceiveMessageData(PhoneSession& session, ByteView messageData,
                                    const DataReply& replyHandler) override;
  void sessionDidReceiveUserInfo(PhoneSession& session, const PlistDictionary& userInfo) override;
  void sessionDidReceiveApplicationContext(PhoneSession& session, const PlistDictionary& context) override;
  void sessionDidReceiveFile(PhoneSession& session, const ReceivedFile& file) override;
  void sessionDidFinishUserInfoTransfer(PhoneSession& session, const UserInfoTransfer& transfer,
                                        const std::optional<SessionError>& error) override;

 private:
  /// Takes the chart's language and gives its songs, marked as the watch's, or nothing when there are none.
  std::optional<PlistArray> takeChart(const PlistDictionary& chart);
  void takeLanguage(std::string_view language);
  void storeChart(PhoneSession& session, const PlistDictionary& chart);
  /// Stores songs as an archive. Throws a std::exception when they cannot be kept.
  void storeArchive(const PlistArray& songs);
  void announceChart(const PlistArray& songs);
  void acknowledge(PhoneSession& session, std::string_view request);
  void takePlayState(bool playing, const PlistValue& song, const PlistValue* volume);
  /// Stores and announces; returns whether it is on the disk.
  bool storeVolume(const PlistValue& volume);
  void takeNowPlayingImage(const std::string& path);
  /// Posts from a block on the main queue.
  void announce(std::string_view name, std::optional<PlistDictionary> userInfo = std::nullopt);

  Platform& platform_;
  const std::shared_ptr<NowPlaying> nowPlaying_ = std::make_shared<NowPlaying>();
  Mutex purgeMutex_;  // one purge at a time; writers of artwork do not take it
};

}  // namespace tunevale
