#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/FileManager.h"
#include "platform/ImageCache.h"
#include "platform/ImageCodec.h"
#include "platform/LetterCase.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"
#include "platform/PhoneSession.h"
#include "platform/Queues.h"
#include "platform/UserDefaults.h"
#include "platform/WKExtension.h"

namespace tunevale {

class RadioManager;

/// Everything that the extension wants of the outside, handed in by whoever starts it. The services outlive
/// the platform; the platform outlives the delegate and every screen.
struct Platform {
  MainQueue& mainQueue;
  NotificationCenter& defaultCenter;
  UserDefaults& standardUserDefaults;
  FileManager& fileManager;
  ImageCodec& imageCodec;
  LetterCase& letterCase;
  Log& log;
  PhoneSession& defaultSession;
  /// Absolute, without a final slash. It and its `Documents` exist.
  std::string homeDirectory;
  /// The label is for debuggers.
  std::function<std::unique_ptr<SerialQueue>(const std::string& label)> makeSerialQueue;
  std::function<std::shared_ptr<ImageCache>()> makeImageCache;

  WKExtension sharedExtension{};
  /// For RadioManager::sharedManager() alone: the one of the process, made once. A test that builds a fresh
  /// platform thereby gets a fresh one. Last, so that it goes before everything that it uses.
  std::once_flag madeRadioManager{};
  std::shared_ptr<RadioManager> radioManager{};
};

}  // namespace tunevale
