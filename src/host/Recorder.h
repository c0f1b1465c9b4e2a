#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "foundation/Mutex.h"
#include "host/LinkRecording.h"

namespace tunevale::host {

/// Writes a recording, one line an event, each at once: what a crash leaves is whole. Past
/// kMostRecordingBytes, or when the disk is full, it says so once and writes no more. Any thread.
class Recorder {
 public:
  using Clock = std::function<std::chrono::steady_clock::time_point()>;
  /// Makes the file, for the owner alone. Throws std::runtime_error with a line for the person when it
  /// cannot, or when there is a file already. `ended` is called at most once, from add().
  Recorder(const std::string& path, std::function<void(const std::string& why)> ended,
           Clock clock = std::chrono::steady_clock::now);

  /// Writes an event; sets its time. False when the recording has ended.
  bool add(RecordedEvent event);

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  bool write(const std::string& line) REQUIRES_LOCK(mutex_);

  const std::string path_;
  const std::function<void(const std::string&)> ended_;
  const Clock clock_;
  const std::chrono::steady_clock::time_point began_;
  Mutex mutex_;
  std::unique_ptr<std::FILE, CloseFile> file_ GUARDED_BY(mutex_);
  std::size_t written_ GUARDED_BY(mutex_) = 0;
};

}  // namespace tunevale::host
