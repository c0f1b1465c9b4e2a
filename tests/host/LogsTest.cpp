#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "host/FileDescriptor.h"
#include "host/Logs.h"

namespace tunevale::host {
namespace {

TEST(Log, EscapesWhatCouldForgeALineOrDriveATerminal) {
  EXPECT_EQ(loggableLine("Error:a\nb\tc\r\x1B[31m\x7F"), "Error:a\\nb\\tc\\u{D}\\u{1B}[31m\\u{7F}");
  EXPECT_EQ(loggableLine(std::string_view("a\0b", 3)), "a\\u{0}b");
  EXPECT_EQ(loggableLine("a\u0085b\u2028c\u202Ed\u2066e"), "a\\u{85}b\\u{2028}c\\u{202E}d\\u{2066}e");
  EXPECT_EQ(loggableLine("तेरे • é 😀 %s"), "तेरे • é 😀 %s");
  EXPECT_EQ(loggableLine("\xFF|\xE0\xA4"), "\uFFFD|\uFFFD");
}

TEST(Log, CutsALongLineBetweenCharacters) {
  const std::string longLine = std::string(8191, 'x') + "é" + std::string(100, 'y');
  EXPECT_EQ(loggableLine(longLine), std::string(8191, 'x') + "…");
  EXPECT_EQ(loggableLine(std::string(8192, 'x')), std::string(8192, 'x'));
}

TEST(StderrLog, WritesALineAtOnce) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_DIRECT | O_NONBLOCK | O_CLOEXEC), 0);  // a read gives what one write gave
  const FileDescriptor out(ends[0]), in(ends[1]);
  StderrLog log(in.get());
  log.write("Receiving File:a\nb");
  log.write("");
  std::string lines;
  char buffer[256];
  for (ssize_t got = 0; (got = ::read(out.get(), buffer, sizeof buffer)) > 0;) {
    lines.append(buffer, static_cast<std::size_t>(got)).append("|");
  }
  EXPECT_EQ(lines, "Receiving File:a\\nb\n|\n|");
}

}  // namespace
}  // namespace tunevale::host
