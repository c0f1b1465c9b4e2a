#include <stdexcept>

#include "core/ExtensionDelegate.h"
#include "foundation/Description.h"
#include "platform/Platform.h"
#include "radio/RadioManager.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

namespace {

void sendUnanswered(PhoneSession& session, std::string_view request) {
  session.sendMessage({{kRequestKey, request}}, nullptr, nullptr);
}

void complete(WKRefreshBackgroundTask& task) {
  if (auto* snapshot = dynamic_cast<WKSnapshotRefreshBackgroundTask*>(&task)) {
    snapshot->setTaskCompletedWithDefaultStateRestored(true, kDistantFuture, std::nullopt);
  } else {
    task.setTaskCompleted();
  }
}

}  // namespace

ExtensionDelegate::ExtensionDelegate(Platform& platform) : platform_(platform) {}

ExtensionDelegate& ExtensionDelegate::shared(Platform& platform) {
  auto* delegate = dynamic_cast<ExtensionDelegate*>(platform.sharedExtension.delegate());
  if (delegate == nullptr) throw std::logic_error("the extension has no delegate");
  return *delegate;
}

void ExtensionDelegate::applicationDidFinishLaunching() {
  if (platform_.defaultSession.isSupported()) {
    platform_.defaultSession.setDelegate(this);
    platform_.defaultSession.activateSession();
  }
  RadioManager::sharedManager(platform_).loadRadioData();
}

void ExtensionDelegate::applicationWillEnterForeground() {
  sendUnanswered(platform_.defaultSession, "app:foreground");
}

void ExtensionDelegate::applicationDidEnterBackground() {
  sendUnanswered(platform_.defaultSession, "app:background");
}

void ExtensionDelegate::handleBackgroundTasks(
    const std::vector<std::shared_ptr<WKRefreshBackgroundTask>>& tasks) {
  // Data comes through the session, so no task has anything to do first.
  for (const auto& task : tasks) {
    if (task) complete(*task);
  }
}

void ExtensionDelegate::sessionActivationDidCompleteWithState(PhoneSession& session, ActivationState state,
                                                              const std::optional<SessionError>& error) {
  if (state != ActivationState::activated) return;
  // The greeting's failure is logged with how the activation went, not with why the greeting failed.
  const std::string activationError = error ? description(error->description) : std::string("(null)");
  session.sendMessage(
      {{kRequestKey, "Hello"}},
      [&log = platform_.log](const PlistDictionary& reply) {
        log.write("Launching app launch successful" + description(reply));
      },
      [&log = platform_.log, activationError](const SessionError&) {
        log.write("Unable to launch or wake up phone app: " + activationError);
      });
}

}  // namespace tunevale
