#include "host/InputHandler.h"

#include <algorithm>
#include <array>
#include <initializer_list>

#include <boost/json.hpp>

#include "host/Navigation.h"
#include "host/TreeJson.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceTable.h"

namespace tunevale::host {

namespace json = boost::json;

namespace {

constexpr std::size_t kMostDepth = 8;
constexpr std::size_t kMostNameInReason = 64;
// Ten thousand turns of the crown are more than anybody means, and far from overflowing an index.
constexpr std::int64_t kMostNumber = 1'000'000;

struct Malformed {
  std::string why;
};
struct Refused {
  std::string why;
};

/// A name from outside, as it may stand in a reason.
std::string shown(std::string_view name) {
  return '"' + std::string(name.substr(0, kMostNameInReason)) + '"';
}

std::int64_t number(const json::value& value, std::string_view what) {
  const auto* const whole = value.if_int64();
  if (whole == nullptr || *whole < -kMostNumber || *whole > kMostNumber)
    throw Malformed{shown(what) + " is a whole number"};
  return *whole;
}

std::size_t index(const json::value& value, std::string_view what) {
  const std::int64_t whole = number(value, what);
  if (whole < 0) throw Malformed{shown(what) + " is not negative"};
  return static_cast<std::size_t>(whole);
}

/// A member of an object that has exactly these members.
const json::value& member(const json::value& object, std::string_view name,
                          std::initializer_list<std::string_view> all) {
  const auto* const members = object.if_object();
  const bool fits = members != nullptr && members->size() == all.size() &&
                    std::all_of(all.begin(), all.end(), [&](auto each) { return members->contains(each); });
  if (fits) return members->at(name);
  std::string list;
  for (const auto each : all) list += (list.empty() ? "" : ", ") + std::string(each);
  throw Malformed{"this takes an object of " + list};
}

std::string_view text(const json::value& value, std::string_view what) {
  const auto* const string = value.if_string();
  if (string == nullptr) throw Malformed{shown(what) + " is a text"};
  return *string;
}

/// The element that an input names, if a person could reach it.
template <class Element>
Element& reachable(WKInterfaceObject& root, std::string_view name) {
  const FoundElement found = findElement(root, name);
  if (found.element == nullptr) throw Refused{"there is no " + shown(name) + " here"};
  auto* const element = dynamic_cast<Element*>(found.element);
  if (element == nullptr) throw Refused{shown(name) + " is no " + std::string(kindName(Element::kKind))};
  if (!found.visible) throw Refused{shown(name) + " is hidden"};
  return *element;
}

void tapButton(WKInterfaceObject& root, std::string_view name) {
  auto& button = reachable<WKInterfaceButton>(root, name);
  if (!button.isEnabled()) throw Refused{shown(name) + " is disabled"};
  button.tap();
}

}  // namespace

InputOutcome InputHandler::handle(std::string_view input) {
  json::parse_options options;
  options.max_depth = kMostDepth;
  json::error_code error;
  const json::value value = json::parse(input, error, {}, options);
  if (error) return {InputOutcome::Kind::malformed, "this is no JSON: " + error.message()};
  const auto* const members = value.if_object();
  if (members == nullptr || members->size() != 1) {
    return {InputOutcome::Kind::malformed, "an input is an object with one member"};
  }
  // Whatever the input leads to, the screen it was made on stays until that is done.
  const auto held = navigation_.screen();
  try {
    dispatch(members->begin()->key(), members->begin()->value());
  } catch (const Malformed& malformed) {
    return {InputOutcome::Kind::malformed, malformed.why};
  } catch (const Refused& refused) {
    return {InputOutcome::Kind::refused, refused.why};
  }
  return {};
}

void InputHandler::dispatch(std::string_view name, const Value& value) {
  struct Input {
    std::string_view name;
    void (InputHandler::*run)(const Value&);
  };
  static constexpr std::array<Input, 8> kInputs{{{"tap", &InputHandler::tap},
                                                 {"select", &InputHandler::select},
                                                 {"pick", &InputHandler::pick},
                                                 {"crown", &InputHandler::crown},
                                                 {"page", &InputHandler::page},
                                                 {"back", &InputHandler::back},
                                                 {"alert", &InputHandler::alert},
                                                 {"foreground", &InputHandler::foreground}}};
  const auto* const input =
      std::find_if(kInputs.begin(), kInputs.end(), [&](const Input& each) { return each.name == name; });
  if (input == kInputs.end()) throw Malformed{"there is no input " + shown(name)};
  if (name != "foreground") {
    if (!navigation_.isForeground()) throw Refused{"the watch shows its face"};
    if (name != "alert" && navigation_.alert() != nullptr) throw Refused{"an alert is up"};
  }
  (this->*input->run)(value);
}

void InputHandler::tap(const Value& value) {
  if (value.is_string()) return tapButton(*navigation_.screen()->root(), text(value, "tap"));
  const std::string_view outlet = text(member(value, "outlet", {"table", "row", "outlet"}), "outlet");
  WKInterfaceTable& rows = table(value);
  tapButton(*rows.rows()[rowOf(value, rows)].tree, outlet);
}

void InputHandler::select(const Value& value) {
  member(value, "row", {"table", "row"});
  WKInterfaceTable& rows = table(value);
  const std::size_t row = rowOf(value, rows);
  navigation_.screen()->tableDidSelectRowAtIndex(rows, row);
}

WKInterfaceTable& InputHandler::table(const Value& members) {
  const std::string_view name = text(members.at("table"), "table");
  return reachable<WKInterfaceTable>(*navigation_.screen()->root(), name);
}

std::size_t InputHandler::rowOf(const Value& members, const WKInterfaceTable& table) {
  const std::size_t row = index(members.at("row"), "row");
  if (row >= table.rows().size()) throw Refused{"there is no row " + std::to_string(row)};
  return row;
}

void InputHandler::pick(const Value& value) {
  const std::string_view name = text(member(value, "picker", {"picker", "index"}), "picker");
  const std::size_t item = index(value.at("index"), "index");
  auto& picker = reachable<WKInterfacePicker>(*navigation_.screen()->root(), name);
  if (!picker.isEnabled()) throw Refused{shown(name) + " is disabled"};
  if (item >= picker.items().size()) throw Refused{"there is no item " + std::to_string(item)};
  picker.pick(static_cast<std::ptrdiff_t>(item));
}

void InputHandler::crown(const Value& value) {
  const std::int64_t steps = number(value, "crown");
  // Without a picker the crown scrolls, which is the display's own affair.
  auto* const picker = findFocusedPicker(*navigation_.screen()->root());
  if (picker != nullptr) picker->pick(static_cast<std::ptrdiff_t>(picker->selectedItemIndex()) + steps);
}

void InputHandler::page(const Value& value) {
  const std::size_t page = index(value, "page");
  if (!navigation_.showPage(page)) throw Refused{"there is no page " + std::to_string(page)};
}

void InputHandler::back(const Value& value) {
  if (!value.is_bool() || !value.get_bool()) throw Malformed{"\"back\" is true"};
  if (!navigation_.back()) throw Refused{"there is no way back from here"};
}

void InputHandler::alert(const Value& value) {
  const std::size_t action = index(value, "alert");
  if (navigation_.alert() == nullptr) throw Refused{"there is no alert"};
  if (!navigation_.answerAlert(action)) throw Refused{"the alert has no action " + std::to_string(action)};
}

void InputHandler::foreground(const Value& value) {
  if (!value.is_bool()) throw Malformed{"\"foreground\" is true or false"};
  navigation_.setForeground(value.get_bool());
}

}  // namespace tunevale::host
