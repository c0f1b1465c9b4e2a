#pragma once

#include <string>
#include <string_view>

namespace tunevale {

/// Letter case of any script, by the Unicode Character Database. Pure; any thread.
class LetterCase {
 public:
  virtual ~LetterCase() = default;
  virtual std::string lowercaseString(std::string_view utf8) = 0;
  /// In each word, delimited by white space, the first character in upper (title) case and the others in
  /// lower.
  virtual std::string capitalizedString(std::string_view utf8) = 0;
};

}  // namespace tunevale
