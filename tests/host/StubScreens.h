#pragma once

#include <filesystem>

#include "host/AtomicFile.h"
#include "host/ControllerRegistry.h"
#include "host/LayoutReader.h"
#include "host/Navigation.h"
#include "platform/Connections.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceLabel.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceTable.h"
#include "support/Pictures.h"
#include "support/World.h"

namespace tunevale::test {

/// A row with a name and a button. Tapping the button writes "use NAME" to the log.
class StubRow : public RowController {
 public:
  void connect(Connections& connections) override {
    connections.outlet("name", name);
    connections.outlet("use", use);
    connections.action("useRow", [this] { screen->platform().log.write("use " + name->text()); });
  }
  WKInterfaceLabel* name = nullptr;
  WKInterfaceButton* use = nullptr;
  std::shared_ptr<WKInterfaceController> screen;  // held, as rows do
};

/// A screen that writes its lifecycle to the log, by its title, and does what its context (a text) says when
/// it awakens: "alert", or the identifier of a scene to push.
class StubScreen : public WKInterfaceController {
 public:
  using WKInterfaceController::WKInterfaceController;

  void connect(Connections& connections) override {
    connections.outlet("line", line);
    connections.outlet("button", button);
    connections.outlet("picker", picker);
    connections.outlet("table", table);
    connections.action("act", [this] {
      onAct();
      note("acted");  // whatever that did, this screen must still be here
    });
    connections.pickerAction("turned", [this](int index) { line->setText(std::to_string(index)); });
  }
  void awakeWithContext(const PlistValue* context) override {
    const std::string what(context == nullptr ? "" : context->string().value_or(""));
    note("awake " + what);
    fill(2);
    if (what == "alert") return alert("from awake");
    if (!what.empty()) pushControllerWithName(what, PlistValue(what));
  }
  void willActivate() override { note("active"); }
  void willDisappear() override { note("disappear"); }
  void didDeactivate() override { note("inactive"); }
  std::optional<PlistValue> contextForSegueWithIdentifier(std::string_view identifier) override {
    return identifier == "AlertSegue" ? std::optional<PlistValue>("alert") : std::nullopt;
  }

  void fill(std::size_t rows) {
    table->setNumberOfRows(rows, "Row");
    for (std::size_t i = 0; i < rows; ++i) {
      auto* const row = table->rowControllerAtIndex<StubRow>(i);
      if (row == nullptr) return;  // a layout may name its rows otherwise
      row->name->setText("row " + std::to_string(i));
      row->screen = shared_from_this();
    }
  }
  void alert(const std::string& message) {
    presentAlertControllerWithTitle(
        "Title", message, WKAlertControllerStyle::alert,
        {{"OK", WKAlertActionStyle::cancel,
          [&log = platform().log, line = title() + ": answered " + message] { log.write(line); }}});
  }
  void note(const std::string& what) { platform().log.write(title() + ": " + what); }

  std::function<void()> onAct = [this] { fill(2); };  // the same anew
  WKInterfaceLabel* line = nullptr;
  WKInterfaceButton* button = nullptr;
  WKInterfacePicker* picker = nullptr;
  WKInterfaceTable* table = nullptr;
};

/// The elements that every stub scene has.
inline const std::string kStubElements = R"(
    <label outlet="line" style="title" text="at first"/>
    <group><button outlet="button" action="act" text="Act" image="dot"/></group>
    <picker outlet="picker" action="turned" label="Choice"/>
    <table outlet="table"><row type="Row" class="StubRow">
      <label outlet="name"/><button outlet="use" action="useRow"/></row></table>)";

/// Scenes "Home", "Second" and "Third" of the same elements; Home has two segues as well.
inline std::string stubLayout() {
  return R"(<interface initial="Home"><images folder="images"><image name="dot"/>
  <sequence name="spin" frames="2"/></images>
  <scene identifier="Home" class="StubScreen" title="Home">)" +
         kStubElements + R"(
    <button id="modalSegue" segue="AlertSegue" to="Second" present="modal"/>
    <button id="pushSegue" segue="Other" to="Third" present="push"/></scene>
  <scene identifier="Second" class="StubScreen" title="&lt; Second">)" +
         kStubElements + R"(</scene>
  <scene identifier="Third" class="StubScreen" title="Third">)" +
         kStubElements + "</scene></interface>";
}

inline void addStubs(host::ControllerRegistry& registry) {
  registry.add<StubScreen>("StubScreen");
  registry.addRow<StubRow>("StubRow");
}

/// A folder with the layout's images (1 by 1 pixel).
class LayoutFolder {
 public:
  LayoutFolder() {
    std::filesystem::create_directory(imageFolder());
    for (const char* name : {"dot", "spin0", "spin1"}) {
      host::writeFileAtomically(pngPicture(1, 1), imageFolder() + "/" + name + ".png");
    }
    host::writeFileAtomically(asBytes(stubLayout()), layoutPath());
  }
  std::string layoutPath() const { return folder_.path("Interface.xml"); }
  std::string imageFolder() const { return folder_.path("images"); }
  host::InterfaceLayout read(const std::string& text, const host::ControllerRegistry& registry) const {
    return host::readLayoutText(text, layoutPath(), registry);
  }

 private:
  TemporaryFolder folder_;
};

/// A watch of the stub layout, not started yet.
struct StubWorld {
  StubWorld() {
    addStubs(registry);
    layout = folder.read(stubLayout(), registry);
  }
  StubScreen& top() { return static_cast<StubScreen&>(*navigation.screen()); }
  /// What the screens wrote to the log since the last call.
  std::vector<std::string> take() {
    auto lines = world.log.lines();
    world.log.clear();
    return lines;
  }
  World world;
  host::ControllerRegistry registry{world.platform};
  LayoutFolder folder;
  host::InterfaceLayout layout;
  host::Navigation navigation{layout, registry, world.platform.sharedExtension, [] {}};
};

}  // namespace tunevale::test
