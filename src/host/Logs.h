#pragma once

#include <string>

#include "platform/Log.h"

namespace tunevale::host {

/// The line as a log takes it: control characters, line and paragraph separators and the marks that turn the
/// direction of text escaped (\n, \t, \u{1B}), ill-formed UTF-8 as U+FFFD, cut after 8 KiB with "…". Nobody
/// can forge a second line or a terminal's commands.
std::string loggableLine(std::string_view line);

/// Lines to a file descriptor, each in one write, so that lines of several threads and processes do not mix.
/// What cannot be written is lost.
class StderrLog : public Log {
 public:
  explicit StderrLog(int descriptor = 2) : descriptor_(descriptor) {}
  void write(std::string_view line) override;

 private:
  const int descriptor_;
};

/// Lines to the system log, as notices of a user program with its process number. One per process.
class SyslogLog : public Log {
 public:
  SyslogLog();
  ~SyslogLog() override;
  void write(std::string_view line) override;
};

}  // namespace tunevale::host
