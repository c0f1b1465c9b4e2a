#include "apps/watch/WatchOptions.h"

#include <charconv>

#include "apps/CommandLine.h"

namespace tunevale {

const char* const kWatchUsage =
    R"(usage: tunevale-watch [--home DIR] [--display ADDR:PORT] [--link ADDR:PORT] [--no-demo] [--pair]
                      [--pairing-token] [--record FILE] [--replay FILE [--replay-speed N]] [--syslog]

The watch: a display for a browser, and a link that waits for the paired phone.

  --home DIR           where the watch keeps its data (default: tunevale-watch in the user's data directory)
  --display ADDR:PORT  where the browser finds the watch (default: 127.0.0.1:8420; port 0 takes a free one)
  --link ADDR:PORT     where the phone finds the watch (default: 127.0.0.1:8421; port 0 takes a free one)
  --no-demo            without the demo phone, which otherwise runs inside this program
  --pair               takes a phone to pair with for two minutes, and asks in the terminal whether the codes are the
                       same (default: no); without the demo phone
  --pairing-token      prints an address with which one phone may pair in the next two minutes, without a question;
                       without the demo phone
  --record FILE        writes all that passes between watch and phone to a new file, but no keys
  --replay FILE        plays such a file in the place of a phone
  --replay-speed N     so many times as fast; 0 without pauses (default: 1)
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

std::string fileOf(const CommandLine& line, const std::string& option) {
  const auto given = line.value(option);
  if (given && given->empty()) throw UsageError(option + " takes a file");
  return given.value_or("");
}

double speedFrom(const std::string& text, const WatchOptions& options) {
  double speed = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), speed);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  if (!whole || !(speed >= 0 && speed <= 1000))
    throw UsageError("--replay-speed takes 0 to 1000, not " + text);
  if (options.replay.empty()) throw UsageError("--replay-speed is for --replay");
  return speed;
}

}  // namespace

WatchOptions readWatchOptions(int count, const char* const* words) {
  const CommandLine line(count, words,
                         {"--no-demo", "--pair", "--pairing-token", "--syslog", "--help", "--version"},
                         {"--home", "--display", "--link", "--record", "--replay", "--replay-speed"});
  WatchOptions options;
  options.home = line.value("--home").value_or("");
  if (line.value("--home") && options.home.empty()) throw UsageError("--home takes a directory");
  options.display = addressOr(line, "--display", options.display);
  options.link = addressOr(line, "--link", options.link);
  options.pair = line.has("--pair");
  options.pairingToken = line.has("--pairing-token");
  options.record = fileOf(line, "--record");
  options.replay = fileOf(line, "--replay");
  if (!options.replay.empty()) {
    for (const char* other : {"--link", "--record"}) {
      if (line.value(other)) throw UsageError(std::string("with --replay there is no link for ") + other);
    }
    if (options.pair || options.pairingToken) throw UsageError("with --replay there is nobody to pair with");
  }
  if (const auto speed = line.value("--replay-speed")) options.replaySpeed = speedFrom(*speed, options);
  options.demo = !line.has("--no-demo") && !options.pair && !options.pairingToken && options.replay.empty();
  options.syslog = line.has("--syslog");
  options.help = line.has("--help");
  options.version = line.has("--version");
  return options;
}

}  // namespace tunevale
