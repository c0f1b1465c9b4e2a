#pragma once

#include <array>
#include <cstdint>

#include "foundation/PlistDictionary.h"

namespace tunevale {

/// Remembers what was written for the key lists of recent dictionaries, since most dictionaries of one value
/// have one of a few lists. The dictionaries must outlive this object.
class KeyLists {
 public:
  /// The number noted for a dictionary of the same keys, or null.
  const std::uint32_t* find(const PlistDictionary& dictionary) const {
    const Noted& noted = noted_[place(dictionary)];
    return noted.entries != nullptr && sameKeys(noted, dictionary) ? &noted.number : nullptr;
  }

  void note(const PlistDictionary& dictionary, std::uint32_t number) {
    if (!dictionary.empty()) noted_[place(dictionary)] = {dictionary.begin(), dictionary.size(), number};
  }

 private:
  struct Noted {
    const PlistDictionary::Entry* entries = nullptr;
    std::size_t count = 0;
    std::uint32_t number = 0;
  };

  static std::size_t place(const PlistDictionary& dictionary) {
    if (dictionary.empty()) return 0;
    const std::string_view first = dictionary.begin()->key.view();
    const std::string_view last = (dictionary.end() - 1)->key.view();
    const auto firstOf = [](std::string_view text) {
      return text.empty() ? 0U : static_cast<unsigned char>(text[0]);
    };
    return (dictionary.size() * 7 + first.size() * 3 + last.size() + firstOf(first) * 5 + firstOf(last)) %
           kPlaces;
  }

  static bool sameKeys(const Noted& noted, const PlistDictionary& dictionary) {
    if (noted.count != dictionary.size()) return false;
    for (std::size_t i = 0; i < noted.count; ++i) {
      if (!(noted.entries[i].key == dictionary.begin()[i].key)) return false;
    }
    return true;
  }

  static constexpr std::size_t kPlaces = 61;  // a clash only costs the work again
  std::array<Noted, kPlaces> noted_{};
};

}  // namespace tunevale
