#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Description.h"
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

/// Keeps in words what screens ask of whoever shows them: "push NAME CONTEXT", "present NAME CONTEXT" with a
/// NAME CONTEXT for each page, "alert TITLE: MESSAGE [ACTION]".
class RecordingHost : public InterfaceHost {
 public:
  void titleDidChange(WKInterfaceController&) override {}
  void push(WKInterfaceController&, const std::string& name, const PlistValue& context) override {
    lines_.push_back("push " + name + " " + description(context));
  }
  void present(WKInterfaceController&, const std::vector<Page>& pages) override {
    std::string line = "present";
    for (const auto& [name, context] : pages) line += " " + name + " " + description(context);
    lines_.push_back(line);
  }
  void presentAlert(WKInterfaceController&, WKAlert alert) override {
    std::string line = "alert " + alert.title + ": " + alert.message;
    for (const WKAlertAction& action : alert.actions) line += " [" + action.title + "]";
    lines_.push_back(line);
  }

  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};

inline std::string alert(std::string_view message) {
  return "alert Tunevale: " + std::string(message) + " [OK]";
}

/// A screen without elements, to show alerts on.
class ProbeScreen : public WKInterfaceController {
 public:
  using WKInterfaceController::WKInterfaceController;
  void connect(Connections&) override {}
  static std::shared_ptr<ProbeScreen> shownBy(InterfaceHost& host, Platform& platform) {
    auto screen = std::make_shared<ProbeScreen>(platform);
    screen->attach(nullptr, host);
    return screen;
  }
};

/// A screen with an element for each of its outlets: plain, side by side, groups with the background image
/// "of the layout". Buttons have the actions of the screen or row in their order, a picker the picker action.
template <class Screen, class Row = void>
class ShownScreen {
 public:
  ShownScreen(Platform& platform, InterfaceHost& host) : screen_(std::make_shared<Screen>(platform)) {
    screen_->connect(connections_);
    screen_->attach(tree(connections_), host);
  }
  ~ShownScreen() { leave(); }

  Screen* operator->() const { return screen_.get(); }
  void awake(const PlistValue& context) { screen_->awakeWithContext(&context); }
  void act(const std::string& action) {
    for (const auto& candidate : connections_.tapActions) {
      if (candidate.name == action) return candidate.run();
    }
    throw std::out_of_range(action);
  }
  /// Lets the screen go as a host does; the result tells whether anybody still holds it.
  std::weak_ptr<Screen> leave() {
    const std::weak_ptr<Screen> left = screen_;
    if (screen_) screen_->detach();
    screen_.reset();
    return left;
  }

 private:
  static std::unique_ptr<WKInterfaceGroup> tree(const Connections& connections) {
    auto root = std::make_unique<WKInterfaceGroup>(ElementAttributes{});
    std::size_t buttons = 0;
    for (const auto& outlet : connections.outlets) {
      root->adopt(elementFor(outlet));
      WKInterfaceObject* element = root->children().back().get();
      outlet.assign(*element);
      if (auto* button = dynamic_cast<WKInterfaceButton*>(element)) {
        button->setAction(connections.tapActions.at(buttons++).run);
      } else if (auto* picker = dynamic_cast<WKInterfacePicker*>(element)) {
        picker->setAction(connections.pickActions.at(0).run);
      }
    }
    return root;
  }
  static std::unique_ptr<WKInterfaceObject> elementFor(const Connections::Outlet& outlet) {
    using Kind = WKInterfaceObject::Kind;
    const ElementAttributes attributes{outlet.name, "", ""};
    if (outlet.kind == Kind::label) return std::make_unique<WKInterfaceLabel>(attributes);
    if (outlet.kind == Kind::image) return std::make_unique<WKInterfaceImage>(attributes);
    if (outlet.kind == Kind::button) return std::make_unique<WKInterfaceButton>(attributes);
    if (outlet.kind == Kind::slider) return std::make_unique<WKInterfaceSlider>(attributes, 0.0F, 10.0F);
    if (outlet.kind == Kind::picker) return std::make_unique<WKInterfacePicker>(attributes);
    if constexpr (!std::is_void_v<Row>) {
      if (outlet.kind == Kind::table) return std::make_unique<WKInterfaceTable>(attributes, makeRow);
    }
    auto group = std::make_unique<WKInterfaceGroup>(attributes);
    group->setBackgroundImageNamed("of the layout");
    return group;
  }
  static WKInterfaceTable::Row makeRow(std::string_view type) {
    auto controller = std::make_shared<Row>();
    Connections connections;
    controller->connect(connections);
    return {std::string(type), tree(connections), controller};
  }

  std::shared_ptr<Screen> screen_;
  Connections connections_;
};

/// A world with a ready phone and a host. At its end the phone lets go of everything, as a real one does.
struct ScreenTest : ::testing::Test {
  using Texts = std::vector<std::string>;
  using Messages = std::vector<PlistDictionary>;

  ScreenTest() { world.phone.setActivationState(ActivationState::activated); }
  ~ScreenTest() override {
    world.phone.failAll({7014, "gone"});
    world.mainQueue.advance(std::chrono::seconds(1));
  }
  void answer(const PlistDictionary& reply) {
    world.phone.reply(world.phone.lastMessage(), reply);
    world.settle();
  }
  void refuse() {
    world.phone.fail(world.phone.lastMessage(), {7007, "away"});
    world.settle();
  }
  Texts takeLog() {
    Texts lines = world.log.lines();
    world.log.clear();
    return lines;
  }
  /// That a request is sent in the one good state of the phone, and its first fault told in every other.
  void expectReadinessCheck(const std::function<void()>& request) {
    for (int state = 7; state >= 0; --state) {
      const bool activated = (state & 4) != 0, locked = (state & 2) == 0;
      world.phone.setActivationState(activated ? ActivationState::activated : ActivationState::inactive);
      world.phone.setLocked(locked);
      world.phone.setReachable((state & 1) != 0);
      world.phone.takeMessages();
      request();
      EXPECT_EQ(world.phone.takeMessages().size(), state == 7 ? 1U : 0U);
      const auto fault = !activated ? kAlertNotActivated : locked ? kAlertNotPaired : kAlertNotReachable;
      EXPECT_EQ(host.take(), state == 7 ? Texts{} : Texts{alert(fault)});
    }
  }
  /// That a tap, whatever the phone is up to, colours the group for 0.1 s and no longer.
  void expectFlash(const WKInterfaceGroup& group, const std::function<void()>& tap) {
    const Color green = Color::colorWithRed(0.16862746F, 0.67058825F, 0.28235295F, 1.0F);
    const Color red = Color::colorWithRed(0.67058825F, 0.16862746F, 0.28235295F, 1.0F);
    for (const bool reachable : {true, false}) {
      world.phone.setReachable(reachable);
      EXPECT_EQ(group.backgroundColor(), green);
      tap();
      world.mainQueue.advance(std::chrono::nanoseconds(99'999'999));
      EXPECT_EQ(group.backgroundColor(), red);
      world.mainQueue.advance(std::chrono::nanoseconds(1));
    }
    EXPECT_EQ(group.backgroundColor(), green);
  }

  World world;
  RecordingHost host;
  UserDefaults& defaults = world.platform.standardUserDefaults;
  NotificationCenter& center = world.platform.defaultCenter;
};

}  // namespace tunevale::test
