#include "host/LayoutReader.h"

#include <algorithm>
#include <filesystem>

#include "host/PosixFiles.h"
#include "host/SceneReader.h"

namespace tunevale::host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostLayoutBytes = std::size_t{1} << 20;
constexpr int kMostFrames = 100;

bool isPlainName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
  });
}

void readImages(const LayoutSource& source, pugi::xml_node node, const fs::path& folder,
                InterfaceLayout& layout) {
  source.allowAttributes(node, {"folder"});
  const fs::path images = folder / source.required(node, "folder");
  layout.imageFolder = images.string();
  const auto add = [&](pugi::xml_node at, const std::string& name) {
    std::error_code error;
    if (!fs::is_regular_file(images / (name + ".png"), error)) {
      source.fail(at, "name", "there is no file " + (images / (name + ".png")).string());
    }
    if (!layout.images.insert(name).second)
      source.fail(at, "name", "the image " + inQuotes(name) + " stands twice");
  };
  for (const pugi::xml_node child : node.children()) {
    const std::string tag = child.name();
    if (tag != "image" && tag != "sequence") source.fail(child, "there is no element " + inQuotes(tag));
    const std::string name = source.required(child, "name");
    if (!isPlainName(name)) {
      source.fail(child, "name", "a name is made of letters, digits, hyphens and underscores");
    }
    if (tag == "image") {
      source.allowAttributes(child, {"name"});
      add(child, name);
    } else {
      source.allowAttributes(child, {"name", "frames"});
      const float frames = source.number(child, "frames", 0);
      if (frames < 1 || frames > kMostFrames || frames != static_cast<float>(static_cast<int>(frames))) {
        source.fail(child, "frames", "a sequence has 1 to " + std::to_string(kMostFrames) + " frames");
      }
      layout.sequences.insert(name);
      for (int i = 0; i < static_cast<int>(frames); ++i) add(child, name + std::to_string(i));
    }
  }
}

}  // namespace

InterfaceLayout readLayoutText(std::string text, const std::string& path,
                               const ControllerRegistry& registry) {
  const LayoutSource source(path, std::move(text));
  const pugi::xml_node root = source.root();
  if (std::string_view(root.name()) != "interface")
    source.fail(root, "the outermost element is \"interface\"");
  source.allowAttributes(root, {"initial"});

  InterfaceLayout layout;
  LayoutContext context{source, registry, layout, {}};
  for (const pugi::xml_node node : root.children()) {
    const std::string_view tag = node.name();
    if (tag == "scene") {
      const std::string identifier = source.required(node, "identifier");
      if (!context.sceneIdentifiers.insert(identifier).second) {
        source.fail(node, "identifier", "the scene " + inQuotes(identifier) + " stands twice");
      }
    } else if (tag == "images") {
      if (!layout.imageFolder.empty()) source.fail(node, "there is more than one list of images");
      readImages(source, node, fs::path(path).parent_path(), layout);
    } else {
      source.fail(node, "there is no element " + inQuotes(tag));
    }
  }
  for (const pugi::xml_node node : root.children("scene")) {
    SceneLayout scene = SceneReader::readScene(context, node);
    layout.scenes.emplace(scene.identifier, std::move(scene));
  }
  layout.initial = source.required(root, "initial");
  if (!layout.scenes.contains(layout.initial)) {
    source.fail(root, "initial", "there is no scene " + inQuotes(layout.initial));
  }
  return layout;
}

InterfaceLayout readLayout(const std::string& path, const ControllerRegistry& registry) {
  const auto bytes = readFile(path, kMostLayoutBytes);
  if (!bytes) throw LayoutError(path + ":1:1: the file cannot be read");
  return readLayoutText(std::string(asText(*bytes)), path, registry);
}

}  // namespace tunevale::host
