#include "host/Recorder.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace tunevale::host {

namespace {

std::FILE* newFile(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  std::FILE* file = descriptor < 0 ? nullptr : ::fdopen(descriptor, "w");
  if (file != nullptr) return file;
  const int reason = errno;
  if (descriptor >= 0) ::close(descriptor);
  throw std::runtime_error("cannot record to " + path + ": " + std::generic_category().message(reason));
}

}  // namespace

Recorder::Recorder(const std::string& path, std::function<void(const std::string&)> ended, Clock clock)
    : path_(path),
      ended_(std::move(ended)),
      clock_(std::move(clock)),
      began_(clock_()),
      file_(newFile(path)) {
  const MutexLock lock(mutex_);
  if (!write(recordingHeader()))
    throw std::runtime_error("cannot record to " + path + ": it cannot be written");
}

bool Recorder::add(RecordedEvent event) {
  std::string why;
  {
    const MutexLock lock(mutex_);
    if (file_ == nullptr) return false;
    event.at = std::chrono::duration_cast<std::chrono::milliseconds>(clock_() - began_);
    const std::string line = recordedLine(event);
    const bool fits = written_ + line.size() < kMostRecordingBytes;
    if (fits && write(line)) return true;
    why = "the recording " + path_ + " ends here: " + (fits ? "it cannot be written" : "it is full");
    file_.reset();
  }
  ended_(why);
  return false;
}

bool Recorder::write(const std::string& line) {
  written_ += line.size() + 1;
  return std::fwrite(line.data(), 1, line.size(), file_.get()) == line.size() &&
         std::fputc('\n', file_.get()) != EOF && std::fflush(file_.get()) == 0;
}

}  // namespace tunevale::host
