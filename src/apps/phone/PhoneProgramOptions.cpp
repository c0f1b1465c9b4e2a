#include "apps/phone/PhoneProgramOptions.h"

#include <algorithm>

#include "apps/CommandLine.h"
#include "phone/Catalogue.h"

namespace tunevale {

const char* const kPhoneUsage =
    R"(usage: tunevale-phone [--home DIR] [--pair ADDRESS] [--link ADDR:PORT] [--console ADDR:PORT]
                      [--language NAME] [--empty] [--no-push]

The reference phone: connects to its paired watch, and stays connected. It reads one command per line from standard
input and writes one event per line to standard output, both as JSON; docs/phone.md lists them. The end of
standard input ends it, unless it has a console.

  --home DIR           where the phone keeps its key, its pairing and what waits to be sent (default: tunevale-phone
                       in the user's data directory)
  --pair ADDRESS       first pairs with the watch at that address, which is the one that the watch shows, or its
                       ADDR:PORT; without a token in it, asks on standard error whether the codes are the same and
                       takes the answer as a line of input
  --link ADDR:PORT     where the paired watch waits for the phone (default: 127.0.0.1:8421)
  --console ADDR:PORT  offers the phone's console to a browser there (port 0 takes a free one)
  --language NAME      of its chart: english, hindi or tamil (default: english)
  --empty              begins with nothing to play
  --no-push            sends only what commands say
  --help, --version
)";

namespace {

std::optional<http::Address> addressOf(const CommandLine& line, const std::string& option) {
  const auto given = line.value(option);
  if (!given) return std::nullopt;
  const auto address = http::parseAddress(*given);
  if (!address) throw UsageError(option + " takes ADDR:PORT, not " + *given);
  return address;
}

}  // namespace

PhoneProgramOptions readPhoneProgramOptions(int count, const char* const* words) {
  const CommandLine line(count, words, {"--empty", "--no-push", "--help", "--version"},
                         {"--home", "--pair", "--link", "--console", "--language"});
  PhoneProgramOptions options;
  options.home = line.value("--home").value_or("");
  if (line.value("--home") && options.home.empty()) throw UsageError("--home takes a directory");
  if (const auto address = line.value("--pair")) {
    options.pair = link::parsePairingAddress(*address);
    if (!options.pair) throw UsageError("--pair takes an address to pair with, not " + *address);
  }
  options.link = addressOf(line, "--link").value_or(options.link);
  options.console = addressOf(line, "--console");
  options.settings.language = line.value("--language").value_or(options.settings.language);
  if (!phone::isCatalogueLanguage(options.settings.language)) {
    throw UsageError("--language takes english, hindi or tamil, not " + options.settings.language);
  }
  options.settings.queued = !line.has("--empty");
  options.settings.pushes = !line.has("--no-push");
  options.help = line.has("--help");
  options.version = line.has("--version");
  return options;
}

}  // namespace tunevale
