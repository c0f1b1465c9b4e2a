#include "apps/watch/WatchOptions.h"

#include "apps/CommandLine.h"

namespace tunevale {

const char* const kWatchUsage =
    R"(usage: tunevale-watch [--home DIR] [--display ADDR:PORT] [--link ADDR:PORT] [--no-demo] [--syslog]

The watch: a display for a browser, and a link that waits for the phone.

  --home DIR           where the watch keeps its data (default: tunevale-watch in the user's data directory)
  --display ADDR:PORT  where the browser finds the watch (default: 127.0.0.1:8420; port 0 takes a free one)
  --link ADDR:PORT     where the phone finds the watch (default: 127.0.0.1:8421; port 0 takes a free one)
  --no-demo            without the demo phone, which otherwise runs inside this program
  --syslog             logs to the system log instead of standard error
  --help, --version
)";

namespace {

http::Address addressOr(const CommandLine& line, const std::string& option, http::Address otherwise) {
  const auto given = line.value(option);
  if (!given) return otherwise;
  const auto address = http::parseAddress(*given);
  if (!address) throw UsageError(option + " takes ADDR:PORT, not " + *given);
  return *address;
}

}  // namespace

WatchOptions readWatchOptions(int count, const char* const* words) {
  const CommandLine line(count, words, {"--no-demo", "--syslog", "--help", "--version"},
                         {"--home", "--display", "--link"});
  WatchOptions options;
  options.home = line.value("--home").value_or("");
  if (line.value("--home") && options.home.empty()) throw UsageError("--home takes a directory");
  options.display = addressOr(line, "--display", options.display);
  options.link = addressOr(line, "--link", options.link);
  options.demo = !line.has("--no-demo");
  options.syslog = line.has("--syslog");
  options.help = line.has("--help");
  options.version = line.has("--version");
  return options;
}

}  // namespace tunevale
