#include "apps/phone/PairingPrompt.h"

#include <cstdio>

#include <boost/json.hpp>

#include "apps/YesOrNo.h"

namespace tunevale {

namespace json = boost::json;

namespace {

std::string textIn(const json::object& event, std::string_view name) {
  const json::value* value = event.if_contains(name);
  return value != nullptr && value->is_string() ? std::string(value->get_string()) : std::string();
}

std::string wordsFor(const json::object& event) {
  const std::string step = textIn(event, "step");
  const std::string trouble = textIn(event, "trouble");
  if (trouble == "incomplete") return "Pairing incomplete, pair again.\n";
  if (trouble == "other key") {
    return "Warning: who answers there is not the paired watch. If you did not change it, somebody may be in "
           "between.\n";
  }
  if (step == "open") return "Pairing ...\n";
  if (step == "comparing") {
    return "Code: " + inGroups(textIn(event, "code")) + ". Does the watch show the same? [y/N] ";
  }
  if (step == "waiting") return "Waiting for the watch ...\n";
  if (step == "paired") return "Paired with watch " + textIn(event, "watch") + ".\n";
  if (step == "failed") return "Pairing failed: " + textIn(event, "text") + "\n";
  return {};
}

}  // namespace

void PairingPrompt::phoneDidEmit(const std::string& line) {
  if (!line.starts_with(R"({"event":"pairing")")) return;
  const json::value parsed = json::parse(line);
  const json::object& event = parsed.get_object();
  const bool asks = textIn(event, "step") == "comparing";
  {
    const std::lock_guard lock(mutex_);
    code_ = asks ? textIn(event, "code") : std::string();
  }
  std::fputs(wordsFor(event).c_str(), stderr);
}

std::optional<std::string> PairingPrompt::commandFor(std::string_view line) {
  const std::lock_guard lock(mutex_);
  if (code_.empty() || line.starts_with('{')) return std::nullopt;
  return json::serialize(
      json::object{{"do", isYes(line) ? "confirm_pairing" : "refuse_pairing"}, {"code", code_}});
}

}  // namespace tunevale
