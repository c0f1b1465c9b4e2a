#include "apps/watch/PhoneSide.h"

#include <optional>

#include "apps/watch/WatchOptions.h"
#include "host/AtomicFile.h"
#include "host/HomeFolder.h"
#include "host/LinkPhoneSession.h"
#include "host/Recorder.h"
#include "host/RecordingPhoneSession.h"
#include "host/ReplayPhoneSession.h"
#include "host/RunLoop.h"
#include "host/ThreadQueue.h"
#include "platform/Log.h"

namespace tunevale {

namespace {

std::unique_ptr<SerialQueue> deliveryQueue() {
  return std::make_unique<host::ThreadQueue>("delivery");
}

}  // namespace

struct PhoneSide::Parts {
  std::function<void()> changed;
  std::unique_ptr<host::Recorder> recorder;
  std::unique_ptr<host::RecordingPhoneSession> recording;  // gone after what passes through it
  std::unique_ptr<host::LinkPhoneSession> link;
  std::unique_ptr<host::ReplayPhoneSession> replay;
};

PhoneSide::PhoneSide(host::RunLoop& loop, const host::HomeFolder& home, Log& log, const WatchOptions& options)
    : parts_(std::make_unique<Parts>()) {
  const auto note = [&log](const std::string& line) { log.write(line); };
  if (!options.replay.empty()) {
    parts_->replay = std::make_unique<host::ReplayPhoneSession>(
        loop, deliveryQueue(),
        host::ReplayPhoneSession::Options{.events = host::readRecording(options.replay),
                                          .speed = options.replaySpeed,
                                          .receivedFile = host::temporaryPath(home.path()),
                                          .changed = [this] { parts_->changed(); },
                                          .ended = [note] { note("The recording has ended."); }});
    return;
  }
  parts_->link = std::make_unique<host::LinkPhoneSession>(
      loop, deliveryQueue(),
      host::LinkPhoneSession::Options{.listenOn = {options.link.host, options.link.port},
                                      .folder = home.path() + "/Library/Link",
                                      .log = note,
                                      .happened = [parts = parts_.get()](const host::RecordedEvent& event) {
                                        if (parts->recorder != nullptr) parts->recorder->add(event);
                                      }});
  if (!options.record.empty()) {
    parts_->recorder = std::make_unique<host::Recorder>(options.record, note);
    parts_->recording = std::make_unique<host::RecordingPhoneSession>(*parts_->link, *parts_->recorder);
  }
}

PhoneSide::~PhoneSide() {
  parts_->link.reset();
}

PhoneSession& PhoneSide::session() {
  if (parts_->replay != nullptr) return *parts_->replay;
  if (parts_->recording != nullptr) return *parts_->recording;
  return *parts_->link;
}

host::LinkPhoneSession* PhoneSide::link() {
  return parts_->link.get();
}

std::size_t PhoneSide::pendingRequests() const {
  return parts_->replay != nullptr ? parts_->replay->pendingRequests() : parts_->link->pendingRequests();
}

void PhoneSide::setChangeHandler(std::function<void()> handler) {
  parts_->changed = std::move(handler);
  if (parts_->link == nullptr) return;
  parts_->link->setChangeHandler([parts = parts_.get()] {
    if (parts->recording != nullptr) parts->recording->noteState();
    parts->changed();
  });
}

}  // namespace tunevale
