#include "host/SceneBuilder.h"

#include "host/ControllerRegistry.h"
#include "platform/InterfaceHost.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceImage.h"
#include "platform/WKInterfaceLabel.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceSlider.h"
#include "platform/WKInterfaceTable.h"

namespace tunevale::host {

namespace {

using Kind = WKInterfaceObject::Kind;
using Element = std::unique_ptr<WKInterfaceObject>;

/// Builds the elements of one screen or row and connects them to its controller.
class ElementBuilder {
 public:
  /// Gives back the controller, or null once it has gone.
  using Hold = std::function<std::shared_ptr<void>()>;
  using Segue = std::function<void(const SegueLayout&)>;
  ElementBuilder(const ControllerRegistry& registry, Connections connections, Hold hold, Segue segue)
      : registry_(registry),
        connections_(std::move(connections)),
        hold_(std::move(hold)),
        segue_(std::move(segue)) {}

  Element build(const ElementLayout& layout) const {
    Element element = make(layout);
    if (!layout.outlet.empty()) {
      for (const auto& outlet : connections_.outlets) {
        if (outlet.name == layout.outlet) outlet.assign(*element);
      }
    }
    for (const ElementLayout& child : layout.children) element->adopt(build(child));
    return element;
  }

 private:
  Element make(const ElementLayout& layout) const {
    const ElementAttributes attributes{layout.outlet.empty() ? layout.id : layout.outlet, layout.style,
                                       layout.label};
    switch (layout.kind) {
      case Kind::label: {
        auto label = std::make_unique<WKInterfaceLabel>(attributes);
        label->setText(layout.text);
        return label;
      }
      case Kind::image: {
        auto image = std::make_unique<WKInterfaceImage>(attributes);
        image->setImageNamed(layout.image);
        return image;
      }
      case Kind::group: {
        auto group = std::make_unique<WKInterfaceGroup>(attributes);
        group->setBackgroundImageNamed(layout.image);
        return group;
      }
      case Kind::button: {
        auto button = std::make_unique<WKInterfaceButton>(attributes);
        button->setTitle(layout.text);
        button->setBackgroundImageNamed(layout.image);
        button->setAction(tapActionOf(layout));
        return button;
      }
      case Kind::slider:
        return std::make_unique<WKInterfaceSlider>(attributes, layout.minimum, layout.maximum);
      case Kind::picker: {
        auto picker = std::make_unique<WKInterfacePicker>(attributes);
        picker->setAction(pickActionOf(layout));
        return picker;
      }
      case Kind::table:
        return std::make_unique<WKInterfaceTable>(attributes, rowFactoryOf(layout));
    }
    return nullptr;
  }

  WKInterfaceButton::Action tapActionOf(const ElementLayout& layout) const {
    if (layout.segue) {
      return [hold = hold_, segue = segue_, what = *layout.segue] {
        if (const auto held = hold()) segue(what);
      };
    }
    for (const auto& action : connections_.tapActions) {
      if (action.name != layout.action) continue;
      return [hold = hold_, run = action.run] {
        if (const auto held = hold()) run();
      };
    }
    return {};
  }

  WKInterfacePicker::Action pickActionOf(const ElementLayout& layout) const {
    for (const auto& action : connections_.pickActions) {
      if (action.name != layout.action) continue;
      return [hold = hold_, run = action.run](int index) {
        if (const auto held = hold()) run(index);
      };
    }
    return {};
  }

  /// A row type that the layout does not have makes an empty row without a controller.
  WKInterfaceTable::RowFactory rowFactoryOf(const ElementLayout& layout) const {
    return [&registry = registry_, &layout](std::string_view type) -> WKInterfaceTable::Row {
      for (const RowLayout& row : layout.rows) {
        if (row.type != type) continue;
        const std::shared_ptr<RowController> controller = registry.makeRow(row.className);
        Connections connections;
        controller->connect(connections);
        const ElementBuilder builder(registry, std::move(connections), [controller] { return controller; },
                                     {});
        return {row.type, builder.build(row.content), controller};
      }
      return {std::string(type), std::make_unique<WKInterfaceGroup>(ElementAttributes{}), nullptr};
    };
  }

  const ControllerRegistry& registry_;
  const Connections connections_;
  const Hold hold_;
  const Segue segue_;
};

}  // namespace

std::shared_ptr<WKInterfaceController> SceneBuilder::build(const SceneLayout& scene,
                                                           InterfaceHost& host) const {
  const std::shared_ptr<WKInterfaceController> screen = registry_.makeScreen(scene.className);
  Connections connections;
  screen->connect(connections);
  const std::weak_ptr<WKInterfaceController> weak = screen;
  const ElementBuilder builder(
      registry_, std::move(connections), [weak] { return weak.lock(); },
      [weak, run = runSegue_](const SegueLayout& segue) {
        if (const auto held = weak.lock()) run(*held, segue);
      });
  screen->setTitle(scene.title);
  screen->attach(builder.build(scene.content), host);
  return screen;
}

}  // namespace tunevale::host
