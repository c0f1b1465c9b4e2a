#pragma once

#include <string>
#include <string_view>

namespace tunevale {

/// Whether a person's line says yes: "y" or "yes", in any case, with blanks around. Everything else is a no.
inline bool isYes(std::string_view line) {
  std::string word;
  for (const char c : line) {
    if (c == ' ' || c == '\t' || c == '\r') continue;
    word += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return word == "y" || word == "yes";
}

/// A code of six digits as people read it: 3+3.
inline std::string inGroups(const std::string& code) {
  return code.size() == 6 ? code.substr(0, 3) + " " + code.substr(3) : code;
}

}  // namespace tunevale
