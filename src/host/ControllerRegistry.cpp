#include "host/ControllerRegistry.h"

namespace tunevale::host {

namespace {

template <class Controller>
ControllerRegistry::Offer offerOf(Controller& prototype) {
  Connections connections;
  prototype.connect(connections);
  ControllerRegistry::Offer offer;
  for (const auto& outlet : connections.outlets) offer.outlets[outlet.name] = outlet.kind;
  for (const auto& action : connections.tapActions) {
    offer.actions[action.name] = WKInterfaceObject::Kind::button;
  }
  for (const auto& action : connections.pickActions) {
    offer.actions[action.name] = WKInterfaceObject::Kind::picker;
  }
  return offer;
}

template <class Classes>
const ControllerRegistry::Offer* offerIn(const Classes& classes, std::string_view name) {
  const auto found = classes.find(name);
  return found == classes.end() ? nullptr : &found->second.offer;
}

template <class Classes>
auto makeFrom(const Classes& classes, std::string_view name) {
  const auto found = classes.find(name);
  return found == classes.end() ? nullptr : found->second.make();
}

}  // namespace

void ControllerRegistry::addScreen(const std::string& name, std::function<Screen()> make) {
  const Offer offer = offerOf(*make());
  screens_.insert_or_assign(name, Class<std::function<Screen()>>{std::move(make), offer});
}

void ControllerRegistry::addRowClass(const std::string& name, std::function<Row()> make) {
  const Offer offer = offerOf(*make());
  rows_.insert_or_assign(name, Class<std::function<Row()>>{std::move(make), offer});
}

const ControllerRegistry::Offer* ControllerRegistry::screenOffer(std::string_view name) const {
  return offerIn(screens_, name);
}

const ControllerRegistry::Offer* ControllerRegistry::rowOffer(std::string_view name) const {
  return offerIn(rows_, name);
}

ControllerRegistry::Screen ControllerRegistry::makeScreen(std::string_view name) const {
  return makeFrom(screens_, name);
}

ControllerRegistry::Row ControllerRegistry::makeRow(std::string_view name) const {
  return makeFrom(rows_, name);
}

}  // namespace tunevale::host
