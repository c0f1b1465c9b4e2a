#pragma once

#include <set>
#include <string>

#include "host/ControllerRegistry.h"
#include "host/LayoutSource.h"
#include "host/SceneLayout.h"

namespace tunevale::host {

/// What all scenes of a layout share while they are read.
struct LayoutContext {
  const LayoutSource& source;
  const ControllerRegistry& registry;
  const InterfaceLayout& layout;  // its images are read already
  std::set<std::string> sceneIdentifiers;
};

/// Reads one scene, or one row type, with its elements, against its class. For the layout's reader only.
class SceneReader {
 public:
  static SceneLayout readScene(const LayoutContext& context, pugi::xml_node node);

 private:
  SceneReader(const LayoutContext& context, const ControllerRegistry::Offer& offer, std::string className,
              bool inRow)
      : context_(context), offer_(offer), className_(std::move(className)), inRow_(inRow) {}
  static RowLayout readRow(const LayoutContext& context, pugi::xml_node node);

  ElementLayout readContent(pugi::xml_node node);
  void readChildren(pugi::xml_node node, ElementLayout& into, int depth);
  ElementLayout readElement(pugi::xml_node node, int depth);
  void readName(pugi::xml_node node, ElementLayout& element);
  void readImage(pugi::xml_node node, ElementLayout& element);
  void readAction(pugi::xml_node node, ElementLayout& element);
  void readSegue(pugi::xml_node node, ElementLayout& element);
  void readBounds(pugi::xml_node node, ElementLayout& element);
  void readRows(pugi::xml_node node, ElementLayout& element);

  const LayoutContext& context_;
  const ControllerRegistry::Offer& offer_;
  const std::string className_;
  const bool inRow_;
  std::set<std::string> names_;
};

}  // namespace tunevale::host
