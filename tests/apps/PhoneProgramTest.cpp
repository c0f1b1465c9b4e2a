#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <boost/json.hpp>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "link/LinkLoop.h"
#include "link/TcpListener.h"
#include "support/TemporaryFolder.h"

namespace tunevale {
namespace {

struct Finished {
  int status = -1;
  std::vector<std::string> out;
  std::string errors;
};

/// Runs tunevale-phone with its input in a file, until it ends.
Finished run(const std::string& arguments, const std::string& input = "") {
  const test::TemporaryFolder folder;
  std::ofstream(folder.path("in")) << input;
  const std::string command = std::string(TUNEVALE_PHONE) + " --home " + folder.path("home") + " " +
                              arguments + " <" + folder.path("in") + " 2>" + folder.path("errors");
  Finished result;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  std::string text;
  std::array<char, 4096> buffer;
  while (const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), pipe))
    text.append(buffer.data(), size);
  const int status = ::pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) result.out.push_back(line);
  std::ostringstream errors;
  errors << std::ifstream(folder.path("errors")).rdbuf();
  result.errors = errors.str();
  return result;
}

TEST(PhoneProgram, SaysInOneLineWhatIsWrong) {
  link::LinkLoop loop("busy");
  const link::TcpListener busy(loop, {});
  const std::string console = "127.0.0.1:" + std::to_string(busy.port());
  for (const std::string& arguments :
       {std::string("--bogus"), std::string("--link nowhere"), std::string("--link 999.1.1.1:5"),
        std::string("--language klingon"), "--console " + console}) {
    const Finished result = run(arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_TRUE(result.out.empty()) << arguments;
    EXPECT_TRUE(result.errors.starts_with("tunevale-phone: ")) << result.errors;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  }
  EXPECT_EQ(run("--version").status, 0);
}

TEST(PhoneProgram, ObeysLinesAndEndsWithThem) {
  const Finished result =
      run("--link 127.0.0.1:1", "{\"do\":\"volume\",\"value\":2,\"ref\":\"a\"}\nnonsense\n" +
                                    std::string(2'000'000, 'x') + "\n{\"do\":\"state\",\"ref\":\"b\"}");
  EXPECT_EQ(result.status, 0) << result.errors;
  std::vector<std::string> events;
  for (const std::string& line : result.out) {
    boost::system::error_code broken;
    const boost::json::value event = boost::json::parse(line, broken);
    ASSERT_FALSE(broken) << line;
    const boost::json::value* ref = event.as_object().if_contains("ref");
    events.push_back(std::string(event.at("event").as_string()) +
                     (ref == nullptr ? "" : std::string(ref->as_string())));
  }
  const auto count = [&](const std::string& event) {
    return std::count(events.begin(), events.end(), event);
  };
  EXPECT_EQ(events.front(), "ready");
  EXPECT_EQ(count("error"), 2);
  EXPECT_EQ(count("donea"), 1);
  EXPECT_EQ(count("doneb"), 1) << "the last line needs no end";
}

}  // namespace
}  // namespace tunevale
