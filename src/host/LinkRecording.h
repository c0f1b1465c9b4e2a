#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "foundation/PlistDictionary.h"
#include "platform/PhoneSession.h"

namespace tunevale::host {

/// A recording past this is ended, and not read: it is loaded whole.
inline constexpr std::size_t kMostRecordingBytes = std::size_t{256} << 20;

/// One thing that passed between the watch and its phone. Payloads are in it as they were; keys, codes and
/// tokens never are.
struct RecordedEvent {
  enum class Kind {
    activation,        // the session began, or could not (error)
    state,             // reachable, locked
    message,           // of the phone: id, body
    messageData,       // of the phone: id, data
    userInfo,          // body
    context,           // body
    file,              // body: metadata; data: contents
    reply,             // of the watch, to the phone's message `id`: body
    dataReply,         // the same, to message data: data
    request,           // of the watch: id, body
    dataRequest,       // of the watch: id, data
    answer,            // of the phone, to the watch's request `id`: body
    dataAnswer,        // the same, to data: data
    failure,           // of the watch's request `id`: error
    userInfoFinished,  // of the watch: body; error when it will not arrive
    fileFinished,      // of the watch, by its number `id`: the same
    queueReset,        // what one end had queued may be gone
    unpaired,
  };
  Kind kind{};
  std::chrono::milliseconds at{};  // since the recording began
  std::uint64_t id = 0;
  PlistDictionary body;
  Bytes data;
  bool reachable = false;
  bool locked = false;
  SessionError error;  // a code of 0 is none
};

/// One line of JSON, without its end; docs/display-api.md describes it.
std::string recordedLine(const RecordedEvent& event);
/// The first line of a recording.
std::string recordingHeader();
/// Nothing for anything else than a line of these, and then `error` says in one line what is wrong.
std::optional<RecordedEvent> readRecordedLine(std::string_view line, std::string& error);

/// The events of a file. One that ends in half a line, as a killed watch leaves it, ends before that. Throws
/// std::runtime_error with a line for the person when it cannot be read or is no recording.
std::vector<RecordedEvent> readRecording(const std::string& path);

}  // namespace tunevale::host
