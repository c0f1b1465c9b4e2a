#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

#include <boost/asio/signal_set.hpp>
#include <sys/stat.h>

#include "apps/CommandLine.h"
#include "apps/InputLines.h"
#include "apps/phone/PairingPrompt.h"
#include "apps/phone/PhoneProgramOptions.h"
#include "http/HttpServer.h"
#include "phone/Console.h"
#include "phone/Phone.h"

namespace tunevale {

namespace {

constexpr int kUnusable = 2;  // exit status: the command line or an address cannot be used

/// The wish to end, from wherever it comes first.
class Ending {
 public:
  void wish() {
    std::call_once(once_, [this] { wished_.set_value(); });
  }
  void await() { wished_.get_future().wait(); }

 private:
  std::once_flag once_;
  std::promise<void> wished_;
};

/// Writes each event as one line. A reader that has gone ends the program.
class Output : public phone::PhoneObserver {
 public:
  explicit Output(Ending& ending) : ending_(ending) {}
  void phoneDidEmit(const std::string& event) override {
    const bool written = std::fwrite(event.data(), 1, event.size(), stdout) == event.size() &&
                         std::fputc('\n', stdout) != EOF && std::fflush(stdout) == 0;
    if (!written) ending_.wish();
  }
  void phoneDidQuit() override { ending_.wish(); }

 private:
  Ending& ending_;
};

/// $XDG_DATA_HOME/tunevale-phone, or $HOME/.local/share/tunevale-phone (XDG base directories).
std::string homePath(const PhoneProgramOptions& options) {
  if (!options.home.empty()) return options.home;
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') return std::string(data) + "/tunevale-phone";
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return std::string(home) + "/.local/share/tunevale-phone";
  throw std::runtime_error("no home: set HOME or give --home");
}

int runPhone(const PhoneProgramOptions& options) {
  ::umask(077);  // what this process makes is its owner's alone, in whatever folder
  std::signal(SIGPIPE, SIG_IGN);
  Ending ending;
  phone::Phone phone({.watch = {options.link.host, options.link.port},
                      .folder = homePath(options),
                      .settings = options.settings});
  const auto output = std::make_shared<Output>(ending);
  const auto prompt = std::make_shared<PairingPrompt>();
  phone.addObserver(output);
  phone.addObserver(prompt);
  std::string ready = R"({"event":"ready")";

  std::unique_ptr<http::HttpServer> server;
  std::unique_ptr<phone::Console> console;
  if (options.console) {
    const std::string web = TUNEVALE_RESOURCES "/web";
    server = std::make_unique<http::HttpServer>(phone.context(), *options.console);
    console = std::make_unique<phone::Console>(phone, *server, phone.context(), web);
    server->get("/", [web](const http::Request&, const http::Respond& respond) {
      respond(http::fileResponse(web + "/phone", "index.html"));
    });
    ready += R"(,"console":")" + server->url() + R"(/phone")";
  }
  output->phoneDidEmit(ready + "}");

  boost::asio::signal_set signals(phone.context(), SIGINT, SIGTERM);
  signals.async_wait([&ending](const boost::system::error_code& error, int) {
    if (!error) ending.wish();
  });
  phone.start(options.pair);
  {
    const InputLines input({.line =
                                [&phone, &prompt](std::string_view line) {
                                  phone.perform(prompt->commandFor(line).value_or(std::string(line)),
                                                phone::Origin::script);
                                },
                            .tooLong = [&phone] { phone.reject("the line is too long"); },
                            .end =
                                [&phone, &ending, &options] {
                                  if (!options.console)
                                    phone.state([&ending](const std::string&) { ending.wish(); });
                                }});
    ending.await();
  }
  phone.stop();
  return 0;
}

int phoneMain(int count, char** words) {
  try {
    const PhoneProgramOptions options = readPhoneProgramOptions(count, words);
    if (options.help) {
      std::fputs(kPhoneUsage, stdout);
    } else if (options.version) {
      std::puts("tunevale-phone " TUNEVALE_VERSION);
    } else {
      return runPhone(options);
    }
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "tunevale-phone: %s\n", failure.what());
    return kUnusable;
  }
}

}  // namespace

}  // namespace tunevale

int main(int count, char** words) {
  return tunevale::phoneMain(count, words);
}
