#include "host/Navigation.h"

#include <algorithm>

namespace tunevale::host {

namespace {

// What one change of screens may leave to be done; no screen of ours asks for more than one thing.
constexpr std::size_t kMostWaiting = 8;
constexpr std::string_view kWayBack = "< ";

std::string withoutWayBack(const std::string& title) {
  return title.starts_with(kWayBack) ? title.substr(kWayBack.size()) : title;
}

bool saysTheSame(const WKAlert& one, const WKAlert& other) {
  return one.title == other.title && one.message == other.message &&
         std::equal(one.actions.begin(), one.actions.end(), other.actions.begin(), other.actions.end(),
                    [](const WKAlertAction& a, const WKAlertAction& b) { return a.title == b.title; });
}

/// Lets an answer to the one alert run the handlers of an equal one too.
void join(WKAlert& waiting, WKAlert equal) {
  for (std::size_t i = 0; i < waiting.actions.size(); ++i) {
    auto& handler = waiting.actions[i].handler;
    auto& other = equal.actions[i].handler;
    if (!handler) {
      handler = std::move(other);
    } else if (other) {
      handler = [first = std::move(handler), second = std::move(other)] {
        first();
        second();
      };
    }
  }
}

}  // namespace

Navigation::Navigation(const InterfaceLayout& layout, const ControllerRegistry& registry,
                       WKExtension& extension, std::function<void()> didChange)
    : layout_(layout),
      builder_(registry,
               [this](WKInterfaceController& from, const SegueLayout& segue) { runSegue(from, segue); }),
      extension_(extension),
      didChange_(std::move(didChange)) {}

Navigation::~Navigation() {
  changing_ = true;  // nothing opens any more
  while (!levels_.empty()) {
    Level level = std::move(levels_.back());
    levels_.pop_back();
    leave(level);
  }
}

void Navigation::start() {
  change([this] {
    if (auto level = makeLevel(Presentation::root, {{layout_.initial, PlistValue()}}))
      enter(std::move(*level));
    if (auto* delegate = extension_.delegate()) delegate->applicationDidBecomeActive();
  });
}

std::optional<std::string> Navigation::backLabel() const {
  if (top().presentation == Presentation::root) return std::nullopt;
  const std::string& title = screen()->title();
  if (top().presentation == Presentation::modal) {
    return title.starts_with(kWayBack) ? withoutWayBack(title) : "Close";
  }
  const Level& below = levels_[levels_.size() - 2];
  const std::string label = withoutWayBack(below.pages[below.page].controller->title());
  return label.empty() ? "Back" : label;
}

bool Navigation::back() {
  if (levels_.size() < 2 || changing_) return false;
  change([this] {
    deactivateTop();
    Level level = std::move(levels_.back());
    levels_.pop_back();
    leave(level);
    activateTop();
  });
  return true;
}

bool Navigation::showPage(std::size_t index) {
  if (index >= pageCount() || pageCount() < 2 || changing_) return false;
  if (index == page()) return true;
  change([this, index] {
    deactivateTop();
    levels_.back().page = index;
    activateTop();
  });
  return true;
}

bool Navigation::answerAlert(std::size_t action) {
  const std::size_t index = alertIndex();
  if (index == alerts_.size() || action >= alerts_[index].alert.actions.size()) return false;
  const auto handler = alerts_[index].alert.actions[action].handler;
  alerts_.erase(alerts_.begin() + static_cast<std::ptrdiff_t>(index));
  didChange_();
  if (handler) handler();
  return true;
}

void Navigation::setForeground(bool foreground) {
  if (foreground == foreground_ || changing_) return;
  auto* const delegate = extension_.delegate();
  change([&] {
    if (foreground) {
      if (delegate != nullptr) delegate->applicationWillEnterForeground();
      foreground_ = true;
      activateTop();
      if (delegate != nullptr) delegate->applicationDidBecomeActive();
      return;
    }
    if (delegate != nullptr) delegate->applicationWillResignActive();
    deactivateTop();
    foreground_ = false;
    if (delegate == nullptr) return;
    delegate->applicationDidEnterBackground();
    delegate->handleBackgroundTasks({std::make_shared<WKSnapshotRefreshBackgroundTask>()});
  });
}

void Navigation::titleDidChange(WKInterfaceController&) {
  didChange_();
}

void Navigation::push(WKInterfaceController& from, const std::string& name, const PlistValue& context) {
  open(from, Presentation::push, {{name, context}});
}

void Navigation::present(WKInterfaceController& from, const std::vector<Page>& pages) {
  open(from, Presentation::modal, pages);
}

void Navigation::presentAlert(WKInterfaceController& from, WKAlert alert) {
  // Without an action nobody could get past it.
  if (alert.actions.empty()) alert.actions.push_back({"OK", WKAlertActionStyle::cancel, nullptr});
  const auto same = std::find_if(alerts_.begin(), alerts_.end(),
                                 [&alert](const Asked& asked) { return saysTheSame(asked.alert, alert); });
  if (same == alerts_.end()) {
    alerts_.push_back({from.weak_from_this(), std::move(alert)});
  } else {
    join(same->alert, std::move(alert));
    // It is for both now, so it is up as soon as either may show it.
    if (isUnseenPage(same->from.lock().get())) same->from = from.weak_from_this();
  }
  didChange_();
}

const WKAlert* Navigation::alert() const {
  const std::size_t index = alertIndex();
  return index == alerts_.size() ? nullptr : &alerts_[index].alert;
}

std::size_t Navigation::alertIndex() const {
  const auto shown = std::find_if_not(alerts_.begin(), alerts_.end(), [this](const Asked& asked) {
    return isUnseenPage(asked.from.lock().get());
  });
  return static_cast<std::size_t>(shown - alerts_.begin());
}

bool Navigation::isUnseenPage(const WKInterfaceController* screen) const {
  // The page that a level shows counts as seen, also below the top, and so does a screen that was left.
  for (const Level& level : levels_) {
    for (std::size_t i = 0; i < level.pages.size(); ++i) {
      if (level.pages[i].controller.get() == screen) return i != level.page;
    }
  }
  return false;
}

void Navigation::runSegue(WKInterfaceController& from, const SegueLayout& segue) {
  const auto context = from.contextForSegueWithIdentifier(segue.identifier);
  open(from, segue.modal ? Presentation::modal : Presentation::push,
       {{segue.to, context ? *context : PlistValue()}});
}

void Navigation::open(WKInterfaceController& from, Presentation presentation, std::vector<Page> pages) {
  if (changing_) {
    if (waiting_.size() < kMostWaiting)
      waiting_.push_back({from.weak_from_this(), presentation, std::move(pages)});
    return;
  }
  if (levels_.empty() || !isOnTop(from) || levels_.size() >= kMostLevels) return;
  change([&] {
    auto level = makeLevel(presentation, pages);
    if (!level) return;
    deactivateTop();
    enter(std::move(*level));
  });
}

bool Navigation::isOnTop(const WKInterfaceController& screen) const {
  const auto& pages = top().pages;
  return std::any_of(pages.begin(), pages.end(),
                     [&screen](const Screen& page) { return page.controller.get() == &screen; });
}

std::optional<Navigation::Level> Navigation::makeLevel(Presentation presentation,
                                                       const std::vector<Page>& pages) {
  const bool known = std::all_of(pages.begin(), pages.end(),
                                 [this](const Page& page) { return layout_.scene(page.first) != nullptr; });
  if (pages.empty() || !known) return std::nullopt;
  Level level{presentation, {}};
  for (const auto& [identifier, context] : pages) {
    const auto controller = builder_.build(*layout_.scene(identifier), *this);
    controller->root()->setChangeHandler(&didChange_);
    level.pages.push_back({identifier, controller});
    controller->awakeWithContext(context.isNull() ? nullptr : &context);
  }
  return level;
}

void Navigation::enter(Level level) {
  levels_.push_back(std::move(level));
  activateTop();
}

void Navigation::activateTop() {
  const auto held = screen();
  if (foreground_) held->willActivate();
}

void Navigation::deactivateTop() {
  const auto held = screen();
  if (!foreground_) return;
  held->willDisappear();
  held->didDeactivate();
}

void Navigation::change(const std::function<void()>& steps) {
  changing_ = true;
  steps();
  changing_ = false;
  didChange_();
  // Each may begin a change of its own, and what that leaves waiting comes after the rest.
  while (!waiting_.empty()) {
    Opening opening = std::move(waiting_.front());
    waiting_.pop_front();
    if (const auto from = opening.from.lock()) open(*from, opening.presentation, std::move(opening.pages));
  }
}

void Navigation::leave(Level& level) {
  for (Screen& screen : level.pages) {
    screen.controller->detach();
    screen.controller.reset();
  }
}

}  // namespace tunevale::host
