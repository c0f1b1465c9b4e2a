#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "foundation/Description.h"
#include "foundation/Text.h"
#include "platform/Platform.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceSlider.h"
#include "screens/PlayerInterfaceController.h"
#include "util/WatchUtil.h"
#include "vocabulary/PhoneVocabulary.h"

// The transport buttons and the volume.
namespace tunevale {

using namespace WatchUtil;

namespace {

constexpr int kLoudest = 10;

/// A volume as a step of the picker: a number without its fraction, a text by its leading digits, both kept
/// within the picker; nothing for every other kind.
std::optional<int> volumeStep(const PlistValue* volume) {
  if (volume == nullptr) return std::nullopt;
  if (const auto text = volume->string()) {
    return static_cast<int>(std::clamp<std::int64_t>(integerValue(*text), 0, kLoudest));
  }
  const auto number = volume->number();
  if (!number) return std::nullopt;
  return std::isnan(*number) ? 0 : static_cast<int>(std::clamp<double>(*number, 0, kLoudest));
}

}  // namespace

// Previous and next differ on purpose: in the order of their steps, and in the image after a failure. Neither
// touches the mode; the phone's next report puts the two together again.
void PlayerInterfaceController::prevSong() {
  startPlayButtonAnimation();
  updateButtonStates(false);
  if (showingPlaceholder_) return launchWeeklyTop15();
  const auto restore = [this] {
    updateButtonStates(true);
    playButton->setBackgroundImageNamed("Pause");
    stopPlayButtonAnimation();
  };
  sendTransport({{kRequestKey, "prevMedia"}}, restore, [this, restore](const SessionError& error) {
    logError(error);
    restore();
  });
}

void PlayerInterfaceController::nextSong() {
  startPlayButtonAnimation();
  updateButtonStates(false);
  if (showingPlaceholder_) return launchWeeklyTop15();
  sendTransport(
      {{kRequestKey, "nextMedia"}},
      [this] {
        stopPlayButtonAnimation();
        playButton->setBackgroundImageNamed("Pause");
        updateButtonStates(true);
      },
      [this](const SessionError& error) {
        stopPlayButtonAnimation();
        playButton->setBackgroundImageNamed("Play");
        logError(error);
        updateButtonStates(true);
      });
}

void PlayerInterfaceController::playSong() {
  updateButtonStates(false);
  const bool wasPlaying = mode_ == kPlaying;
  showMode(wasPlaying ? kPaused : kPlaying);
  if (showingPlaceholder_) return launchWeeklyTop15();
  sendTransport(
      {{kRequestKey, wasPlaying ? "pauseMedia" : "playMedia"},
       {kReceiveWeeklyTop15, showingPlaceholder_ ? 1 : 0}},
      [this] { updateButtonStates(true); },
      [this](const SessionError& error) {
        logError(error);
        updateButtonStates(true);
      });
}

void PlayerInterfaceController::launchWeeklyTop15() {
  PlistDictionary request{{kRequestKey, "playWeeklyTop15"}, {"currentPosition", "0"}};
  if (!weeklyTop15Data_.empty()) request.set("data", weeklyTop15Data_);
  sendTransport(
      std::move(request),
      [this] {
        showingPlaceholder_ = false;
        updateButtonStates(true);
        stopPlayButtonAnimation();
      },
      [this](const SessionError& error) {
        logError(error);
        updateButtonStates(true);
        stopPlayButtonAnimation();
      });
}

void PlayerInterfaceController::startPlayButtonAnimation() {
  playButtonGroup->setBackgroundImageNamed("spinner");
  playButton->setBackgroundImageNamed("");
  playButtonGroup->startAnimating();
  playButtonGroup->startAnimatingWithImagesInRange(0, 11, 0.8, 0);
}

void PlayerInterfaceController::stopPlayButtonAnimation() {
  playButtonGroup->stopAnimating();
  playButtonGroup->setBackgroundImageNamed("");
}

void PlayerInterfaceController::sendTransport(PlistDictionary request, std::function<void()> afterReply,
                                              ErrorStep afterError) {
  // Every step holds the screen, which may be left meanwhile.
  const auto kept = shared_from_this();
  platform().defaultSession.sendMessage(
      std::move(request),
      [this, kept, afterReply = std::move(afterReply)](const PlistDictionary& reply) {
        showErrorOf(reply);
        platform().mainQueue.async([kept, afterReply] { afterReply(); });
      },
      [this, kept, afterError = std::move(afterError)](const SessionError& error) {
        platform().mainQueue.async([kept, afterError, error] { afterError(error); });
      });
}

void PlayerInterfaceController::showErrorOf(const PlistDictionary& reply) {
  const PlistValue* error = reply.find("error");
  if (isNonEmptyString(error)) showAlert(stringOrEmpty(error), *this);
}

void PlayerInterfaceController::logError(const SessionError& error) {
  platform().log.write("Error handling message: " + description(error.description));
}

/// Selecting the stored step does not run the picker's action, so the slider is set here too, and the phone
/// is not told what it told us.
void PlayerInterfaceController::preparePicker() {
  volumePicker->setItems(std::vector<WKPickerItem>(kLoudest + 1));
  volumePicker->setEnabled(true);
  volumePicker->focus();
  const auto stored = platform().standardUserDefaults.objectForKey(kReceiveDeviceVolume);
  const int step = volumeStep(valueOrNull(stored)).value_or(kLoudest);
  volumePicker->setSelectedItemIndex(step);
  volumeSlider->setValue(static_cast<float>(step));
}

void PlayerInterfaceController::pickerChanged(int index) {
  const auto volume = static_cast<float>(index);
  volumeSlider->setValue(volume);
  updateVolume(volume);
}

void PlayerInterfaceController::updateVolume(float volume) {
  platform().standardUserDefaults.setObject(PlistValue(static_cast<double>(volume)), kReceiveDeviceVolume);
  platform().standardUserDefaults.synchronize();
  if (externalVolumeChange_) {
    externalVolumeChange_ = false;
  } else if (platform().defaultSession.isSupported()) {
    platform().defaultSession.sendMessage(
        {{kRequestKey, kReceiveDeviceVolume}, {"level", static_cast<double>(volume / 10.0F)}},
        [this, kept = shared_from_this()](const PlistDictionary& reply) { showErrorOf(reply); },
        [this, kept = shared_from_this()](const SessionError& error) { logError(error); });
  }
}

void PlayerInterfaceController::updateDeviceVolume(const Notification& notification) {
  if (!notification.userInfo) return;
  const auto step = volumeStep(notification.userInfo->find(kReceiveDeviceVolume));
  if (!step) return;
  externalVolumeChange_ = true;
  volumePicker->setSelectedItemIndex(*step);
  // The picker tells of a person's turn only, so this is passed on here; it also ends the guard.
  pickerChanged(static_cast<int>(volumePicker->selectedItemIndex()));
}

}  // namespace tunevale
