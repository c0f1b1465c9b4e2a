#include "host/Logs.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>

#include <syslog.h>
#include <unistd.h>

#include "foundation/Text.h"

namespace tunevale::host {

namespace {

constexpr std::size_t kMostLineBytes = 8192;

// A longer line, cut before the character that would not fit whole.
std::string_view cut(std::string_view line) {
  if (line.size() <= kMostLineBytes) return line;
  std::size_t end = kMostLineBytes;
  while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0) == 0x80) --end;
  return line.substr(0, end);
}

struct Character {
  std::uint32_t code;
  std::size_t length;
};

// Of valid UTF-8; the code only as far as it can matter below, three bytes.
Character characterAt(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[at + i]));
  };
  if (byte(0) < 0x80) return {byte(0), 1};
  if (byte(0) < 0xE0) return {((byte(0) & 0x1F) << 6) | (byte(1) & 0x3F), 2};
  if (byte(0) < 0xF0) return {((byte(0) & 0x0F) << 12) | ((byte(1) & 0x3F) << 6) | (byte(2) & 0x3F), 3};
  return {0x10000, 4};
}

bool isUnsafe(std::uint32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x61C || c == 0x200E || c == 0x200F ||
         (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

void appendEscape(std::string& out, std::uint32_t c) {
  if (c == '\n') {
    out += "\\n";
  } else if (c == '\t') {
    out += "\\t";
  } else {
    char escape[16];
    std::snprintf(escape, sizeof escape, "\\u{%X}", c);
    out += escape;
  }
}

}  // namespace

std::string loggableLine(std::string_view line) {
  const std::string text = sanitizedUtf8(cut(line));
  std::string out;
  out.reserve(text.size() + 1);
  for (std::size_t at = 0; at < text.size();) {
    const auto [code, length] = characterAt(text, at);
    if (isUnsafe(code)) {
      appendEscape(out, code);
    } else {
      out.append(text, at, length);
    }
    at += length;
  }
  if (line.size() > kMostLineBytes) out += "…";
  return out;
}

void StderrLog::write(std::string_view line) {
  const std::string text = loggableLine(line) + "\n";
  std::string_view left = text;
  while (!left.empty()) {
    const ssize_t written = ::write(descriptor_, left.data(), left.size());
    if (written < 0 && errno != EINTR) return;
    if (written > 0) left.remove_prefix(static_cast<std::size_t>(written));
  }
}

SyslogLog::SyslogLog() {
  ::openlog("tunevale-watch", LOG_PID, LOG_USER);
}

SyslogLog::~SyslogLog() {
  ::closelog();
}

void SyslogLog::write(std::string_view line) {
  ::syslog(LOG_NOTICE, "%s", loggableLine(line).c_str());
}

}  // namespace tunevale::host
