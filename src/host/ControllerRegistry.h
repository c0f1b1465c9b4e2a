#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Connections.h"
#include "platform/RowController.h"
#include "platform/WKInterfaceController.h"

namespace tunevale::host {

/// The classes that a layout may name, and what each offers to it. The platform outlives it. Main queue.
class ControllerRegistry {
 public:
  /// What a class says in connect(), by name.
  struct Offer {
    std::map<std::string, WKInterfaceObject::Kind, std::less<>> outlets;
    std::map<std::string, WKInterfaceObject::Kind, std::less<>> actions;  // button or picker
  };
  using Screen = std::shared_ptr<WKInterfaceController>;
  using Row = std::shared_ptr<RowController>;

  explicit ControllerRegistry(Platform& platform) : platform_(platform) {}

  /// Adds a screen's class, and makes one at once to learn what it offers.
  template <class Class>
  void add(const std::string& name) {
    addScreen(name, [this] { return std::make_shared<Class>(platform_); });
  }
  template <class Class>
  void addRow(const std::string& name) {
    addRowClass(name, [] { return std::make_shared<Class>(); });
  }

  /// Null for an unknown name.
  const Offer* screenOffer(std::string_view name) const;
  const Offer* rowOffer(std::string_view name) const;
  Screen makeScreen(std::string_view name) const;
  Row makeRow(std::string_view name) const;

 private:
  template <class Make>
  struct Class {
    Make make;
    Offer offer;
  };
  template <class Make>
  using Classes = std::map<std::string, Class<Make>, std::less<>>;
  void addScreen(const std::string& name, std::function<Screen()> make);
  void addRowClass(const std::string& name, std::function<Row()> make);

  Platform& platform_;
  Classes<std::function<Screen()>> screens_;
  Classes<std::function<Row()>> rows_;
};

}  // namespace tunevale::host
