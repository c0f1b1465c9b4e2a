#include "host/LayoutSource.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "foundation/Text.h"
#include "host/LayoutReader.h"

namespace tunevale::host {

namespace {

bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

}  // namespace

std::string inQuotes(std::string_view name) {
  return '"' + std::string(name) + '"';
}

LayoutSource::LayoutSource(std::string name, std::string text)
    : name_(std::move(name)), text_(std::move(text)), buffer_(text_) {
  if (!isValidUtf8(text_)) failAt(0, "the file is not UTF-8");
  // Parsed in its buffer, so that names of attributes tell where they stand.
  const auto result =
      document_.load_buffer_inplace(buffer_.data(), buffer_.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!result) failAt(result.offset, std::string("this is not well-formed XML: ") + result.description());
  for (const pugi::xml_node node : document_.children()) {
    if (node != root()) fail(node, "there is more than one outermost element");
  }
}

void LayoutSource::failAt(std::ptrdiff_t offset, const std::string& reason) const {
  const auto end = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(offset, 0, std::ssize(text_)));
  const std::string_view before = std::string_view(text_).substr(0, end);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::string_view inLine = before.substr(before.rfind('\n') + 1);
  const auto column =
      1 + std::count_if(inLine.begin(), inLine.end(), [](char c) { return !isContinuation(c); });
  throw LayoutError(name_ + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + reason);
}

void LayoutSource::fail(pugi::xml_node node, const std::string& reason) const {
  failAt(node.offset_debug(), reason);
}

void LayoutSource::fail(pugi::xml_node node, const char* attribute, const std::string& reason) const {
  const char* const name = node.attribute(attribute).name();
  const std::less<> before;
  const bool inBuffer = !before(name, buffer_.data()) && before(name, buffer_.data() + buffer_.size());
  failAt(inBuffer ? name - buffer_.data() : node.offset_debug(), reason);
}

void LayoutSource::allowAttributes(pugi::xml_node node, std::initializer_list<std::string_view> names) const {
  for (const pugi::xml_attribute attribute : node.attributes()) {
    const std::string_view name = attribute.name();
    if (std::find(names.begin(), names.end(), name) == names.end()) {
      fail(node, attribute.name(), inQuotes(node.name()) + " has no attribute " + inQuotes(name));
    }
    if (node.attribute(attribute.name()) != attribute) {
      fail(node, attribute.name(), "the attribute " + inQuotes(name) + " stands twice");
    }
  }
  for (const pugi::xml_node child : node.children()) {
    if (child.type() != pugi::node_element) fail(node, "text does not belong into " + inQuotes(node.name()));
  }
}

std::string LayoutSource::required(pugi::xml_node node, const char* attribute) const {
  const std::string value = node.attribute(attribute).value();
  if (value.empty())
    fail(node, attribute, inQuotes(node.name()) + " needs the attribute " + inQuotes(attribute));
  return value;
}

float LayoutSource::number(pugi::xml_node node, const char* attribute, float otherwise) const {
  if (!node.attribute(attribute)) return otherwise;
  const std::string_view text = node.attribute(attribute).value();
  float number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
    fail(node, attribute, inQuotes(text) + " is no number");
  }
  return number;
}

}  // namespace tunevale::host
