#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace tunevale::host {

/// The text of a layout file as XML that knows where everything stands. For the layout's reader only.
class LayoutSource {
 public:
  /// Throws LayoutError when the text is no XML in UTF-8. The name begins every error.
  LayoutSource(std::string name, std::string text);
  LayoutSource(const LayoutSource&) = delete;
  LayoutSource& operator=(const LayoutSource&) = delete;

  pugi::xml_node root() const { return document_.document_element(); }

  /// Throw a LayoutError that points at an element or at one of its attributes.
  [[noreturn]] void fail(pugi::xml_node node, const std::string& reason) const;
  [[noreturn]] void fail(pugi::xml_node node, const char* attribute, const std::string& reason) const;

  /// The element may have these attributes and no others, each once, and no text.
  void allowAttributes(pugi::xml_node node, std::initializer_list<std::string_view> names) const;
  /// The value of an attribute that must be there and not be empty.
  std::string required(pugi::xml_node node, const char* attribute) const;
  /// The value as a number; `otherwise` when the attribute is missing.
  float number(pugi::xml_node node, const char* attribute, float otherwise) const;

 private:
  [[noreturn]] void failAt(std::ptrdiff_t offset, const std::string& reason) const;

  std::string name_;
  std::string text_;    // as it was, to count lines in
  std::string buffer_;  // holds the document's strings
  pugi::xml_document document_;
};

/// A name as it stands in errors.
std::string inQuotes(std::string_view name);

}  // namespace tunevale::host
