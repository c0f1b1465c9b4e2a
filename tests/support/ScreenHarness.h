#pragma once

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Connections.h"
#include "platform/InterfaceHost.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceController.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceImage.h"
#include "platform/WKInterfaceLabel.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceSlider.h"
#include "platform/WKInterfaceTable.h"
#include "support/World.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale::test {

/// Keeps what screens ask of whoever shows them.
class RecordingHost : public InterfaceHost {
 public:
  struct Opening {
    bool modal;
    std::vector<Page> pages;
    std::size_t requestsBefore;  // sent to the phone before the screen was opened
    friend bool operator==(const Opening&, const Opening&) = default;
  };
  explicit RecordingHost(const ScriptedPhone& phone) : phone_(phone) {}

  void titleDidChange(WKInterfaceController&) override {}
  void push(WKInterfaceController&, const std::string& name, const PlistValue& context) override {
    opened_.push_back({false, {{name, context}}, phone_.sentMessages().size()});
  }
  void present(WKInterfaceController&, const std::vector<Page>& pages) override {
    opened_.push_back({true, pages, phone_.sentMessages().size()});
  }
  void presentAlert(WKInterfaceController&, WKAlert alert) override {
    if (atAlert) atAlert();
    alerts_.push_back(alert.title + ": " + alert.message);
  }

  std::vector<Opening> takeOpened() { return std::exchange(opened_, {}); }
  /// "Tunevale: MESSAGE" each.
  std::vector<std::string> takeAlerts() { return std::exchange(alerts_, {}); }
  std::function<void()> atAlert;

 private:
  const ScriptedPhone& phone_;
  std::vector<Opening> opened_;
  std::vector<std::string> alerts_;
};

inline std::string alert(std::string_view message) {
  return "Tunevale: " + std::string(message);
}

/// A screen with an element for each of its outlets, as no layout has them: plain, side by side, groups with
/// the background image "of the layout". Leaves the screen at the end.
template <class Screen, class Row = void>
class ShownScreen {
 public:
  /// `actions` names the action of each button that is an outlet; a picker has the one picker action.
  ShownScreen(Platform& platform, InterfaceHost& host, const std::map<std::string, std::string>& actions = {})
      : screen_(std::make_shared<Screen>(platform)) {
    screen_->connect(connections_);
    auto root = std::make_unique<WKInterfaceGroup>(ElementAttributes{});
    for (const auto& outlet : connections_.outlets) {
      root->adopt(elementFor(outlet));
      outlet.assign(*root->children().back());
      if (auto* button = dynamic_cast<WKInterfaceButton*>(root->children().back().get())) {
        button->setAction([this, action = actions.at(outlet.name)] { act(action); });
      } else if (auto* picker = dynamic_cast<WKInterfacePicker*>(root->children().back().get())) {
        picker->setAction(connections_.pickActions.at(0).run);
      }
    }
    screen_->attach(std::move(root), &host);
  }
  ~ShownScreen() { leave(); }
  ShownScreen(const ShownScreen&) = delete;

  Screen* operator->() const { return screen_.get(); }
  Screen& operator*() const { return *screen_; }
  /// Awakens the screen and gives it back.
  ShownScreen& awake(const PlistValue& context) {
    screen_->awakeWithContext(&context);
    return *this;
  }
  ShownScreen& awake() {
    screen_->awakeWithContext(nullptr);
    return *this;
  }
  void act(const std::string& action) {
    for (const auto& candidate : connections_.tapActions) {
      if (candidate.name == action) return candidate.run();
    }
    throw std::out_of_range(action);
  }
  /// Lets the screen go as a host does, and tells whether anybody still holds it.
  std::weak_ptr<Screen> leave() {
    const std::weak_ptr<Screen> left = screen_;
    if (screen_) screen_->detach();
    screen_.reset();
    return left;
  }

 private:
  static std::unique_ptr<WKInterfaceObject> elementFor(const Connections::Outlet& outlet) {
    using Kind = WKInterfaceObject::Kind;
    const ElementAttributes attributes{outlet.name, "", ""};
    switch (outlet.kind) {
      case Kind::label:
        return std::make_unique<WKInterfaceLabel>(attributes);
      case Kind::image:
        return std::make_unique<WKInterfaceImage>(attributes);
      case Kind::group: {
        auto group = std::make_unique<WKInterfaceGroup>(attributes);
        group->setBackgroundImageNamed("of the layout");
        return group;
      }
      case Kind::button:
        return std::make_unique<WKInterfaceButton>(attributes);
      case Kind::slider:
        return std::make_unique<WKInterfaceSlider>(attributes, 0.0F, 10.0F);
      case Kind::picker:
        return std::make_unique<WKInterfacePicker>(attributes);
      case Kind::table:
        return std::make_unique<WKInterfaceTable>(attributes, makeRow);
    }
    throw std::logic_error("an element of an unknown kind");
  }

  /// A row's buttons have the row's one action.
  static WKInterfaceTable::Row makeRow(std::string_view type) {
    WKInterfaceTable::Row row{std::string(type), std::make_unique<WKInterfaceGroup>(ElementAttributes{}), {}};
    if constexpr (!std::is_void_v<Row>) {
      row.controller = std::make_shared<Row>();
      Connections connections;
      row.controller->connect(connections);
      for (const auto& outlet : connections.outlets) {
        row.tree->adopt(elementFor(outlet));
        outlet.assign(*row.tree->children().back());
        if (auto* button = dynamic_cast<WKInterfaceButton*>(row.tree->children().back().get())) {
          button->setAction(connections.tapActions.at(0).run);
        }
      }
    }
    return row;
  }

  std::shared_ptr<Screen> screen_;
  Connections connections_;
};

/// A world with a ready phone and a host. At its end the phone lets go of everything, as a real one does.
struct ScreenTest : ::testing::Test {
  ScreenTest() { world.phone.setActivationState(ActivationState::activated); }
  ~ScreenTest() override {
    for (std::size_t i = 0; i < world.phone.sentMessages().size(); ++i) {
      try {
        world.phone.fail(i, {7014, "gone"});
      } catch (const std::logic_error&) {  // was answered
      }
    }
    world.mainQueue.advance(std::chrono::seconds(1));
  }
  void answer(const PlistDictionary& reply) {
    world.phone.reply(world.phone.lastMessage(), reply);
    world.settle();
  }
  void refuse(const char* reason) {
    world.phone.fail(world.phone.lastMessage(), {7007, reason});
    world.settle();
  }
  std::vector<std::string> takeLog() {
    auto lines = world.log.lines();
    world.log.clear();
    return lines;
  }
  /// Each state of the phone in which a request must not be sent, with its alert: the first that applies.
  void expectReadinessCheck(const std::function<void()>& request) {
    for (int state = 0; state < 8; ++state) {
      const bool activated = (state & 4) != 0;
      const bool locked = (state & 2) != 0;
      const bool reachable = (state & 1) != 0;
      world.phone.setActivationState(activated ? ActivationState::activated : ActivationState::inactive);
      world.phone.setLocked(locked);
      world.phone.setReachable(reachable);
      world.phone.takeMessages();
      host.takeAlerts();
      request();
      const bool ready = activated && !locked && reachable;
      EXPECT_EQ(world.phone.takeMessages().size(), ready ? 1U : 0U) << state;
      const std::string_view told = !activated ? kAlertNotActivated
                                    : locked   ? kAlertNotPaired
                                               : kAlertNotReachable;
      EXPECT_EQ(host.takeAlerts(), ready ? Texts{} : Texts{alert(told)}) << state;
    }
    world.phone.setActivationState(ActivationState::activated);
    world.phone.setLocked(false);
    world.phone.setReachable(true);
  }

  using Texts = std::vector<std::string>;
  using Messages = std::vector<PlistDictionary>;
  World world;
  RecordingHost host{world.phone};
  UserDefaults& defaults = world.platform.standardUserDefaults;
  NotificationCenter& center = world.platform.defaultCenter;
};

}  // namespace tunevale::test
