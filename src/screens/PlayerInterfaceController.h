#pragma once

#include <cstdint>
#include <functional>

#include "foundation/PlistArray.h"
#include "platform/NotificationCenter.h"
#include "platform/PhoneSession.h"
#include "platform/WKInterfaceController.h"

namespace tunevale {

class WKInterfaceButton;
class WKInterfaceGroup;
class WKInterfaceLabel;
class WKInterfacePicker;
class WKInterfaceSlider;

/// The player: what the phone plays, and the controls for it. Without a song it offers the stored "Weekly Top
/// 15" instead (the placeholder). It follows the phone as long as it lives, on screen or not. Main queue.
///
/// Requests are sent unchecked. A transport request keeps the three buttons disabled until it is answered or
/// fails; an "error" text in the answer is shown as an alert.
class PlayerInterfaceController : public WKInterfaceController {
 public:
  enum Mode : std::uint32_t { kUnknown = 0, kPlaying = 1, kPaused = 2 };

  using WKInterfaceController::WKInterfaceController;
  ~PlayerInterfaceController() override;

  WKInterfaceGroup* bgGroupView = nullptr;
  WKInterfaceLabel* songTitleLabel = nullptr;
  WKInterfaceLabel* songMetaLabel = nullptr;
  WKInterfaceGroup* controlGroupView = nullptr;
  WKInterfaceGroup* playButtonGroup = nullptr;
  WKInterfaceButton* prevButton = nullptr;
  WKInterfaceButton* playButton = nullptr;
  WKInterfaceButton* nextButton = nullptr;
  WKInterfaceGroup* volumeGroupView = nullptr;
  WKInterfaceSlider* volumeSlider = nullptr;
  WKInterfacePicker* volumePicker = nullptr;

  void connect(Connections& connections) override;
  /// Optional in the context: "data", the song on display, with its "status"; "view_type".
  void awakeWithContext(const PlistValue* context) override;
  /// Asks the phone what it plays.
  void willActivate() override;
  void willDisappear() override {}
  void didDeactivate() override;

  std::uint32_t mode() const { return mode_; }
  void setMode(std::uint32_t mode) { mode_ = mode; }
  bool showingPlaceholder() const { return showingPlaceholder_; }

  void updatePlayerDataSource(const Notification& notification);
  void updateImageSource(const Notification* notification = nullptr);
  void updatePlayer(bool playing);
  void updateButtonStates(bool enabled);
  void resetMode();

  void prevSong();
  /// Toggles at once what is shown, whatever the phone then answers.
  void playSong();
  void nextSong();
  void launchWeeklyTop15();
  void startPlayButtonAnimation();
  /// Leaves the play button without an image, as the animation had it.
  void stopPlayButtonAnimation();

  /// A turn of the crown, to a step from 0 to 10.
  void pickerChanged(int index);
  void updateVolume(float volume);
  /// The phone's own volume: shown and stored, but not sent back.
  void updateDeviceVolume(const Notification& notification);

 private:
  using ErrorStep = std::function<void(const SessionError& error)>;

  void showMode(std::uint32_t mode);
  bool showPlaceholder();
  void preparePicker();
  void takeReply(const PlistDictionary& reply);
  /// Sends, and runs on the main queue what is to be done after the answer or the failure.
  void sendTransport(PlistDictionary request, std::function<void()> afterReply, ErrorStep afterError);
  void showErrorOf(const PlistDictionary& reply);
  void logError(const SessionError& error);

  PlistValue currentSong_;  // null: none
  PlistArray weeklyTop15Data_;
  bool showingPlaceholder_ = false;
  std::uint32_t mode_ = kUnknown;
  bool externalVolumeChange_ = false;  // the next stored volume came from the phone
};

}  // namespace tunevale
