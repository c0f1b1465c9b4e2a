#include "apps/watch/PairingTerminal.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include "apps/YesOrNo.h"

namespace tunevale {

namespace {

using Step = link::PairingStatus::Step;

std::string wordsFor(const link::PairingStatus& status) {
  switch (status.step) {
    case Step::comparing:
      return "Code: " + inGroups(status.code) + ". Does the phone show the same? [y/N] ";
    case Step::waiting:
      return "Waiting for the phone ...\n";
    case Step::paired:
      return "Paired with phone " + link::fingerprint(status.peer) + ".\n";
    case Step::incomplete:
      return "Pairing incomplete, pair again.\n";
    case Step::failed:
      return "Pairing failed: " + status.text + "\n";
    case Step::closed:
    case Step::open:
      break;
  }
  return {};
}

}  // namespace

PairingTerminal::PairingTerminal(host::PairingControl& control)
    : control_(control),
      input_({.line =
                  [this](std::string_view line) {
                    std::string code;
                    {
                      const MutexLock lock(mutex_);
                      code = std::exchange(code_, {});
                    }
                    if (!code.empty()) control_.answer(code, isYes(line));
                  },
              .tooLong = [] {},
              .end = [] {}}) {}

void PairingTerminal::update() {
  const link::PairingStatus status = control_.view().status;
  if (status == told_) return;
  told_ = status;
  {
    const MutexLock lock(mutex_);
    code_ = status.step == Step::comparing ? status.code : std::string();
  }
  std::fputs(wordsFor(status).c_str(), stdout);
  std::fflush(stdout);
}

}  // namespace tunevale
