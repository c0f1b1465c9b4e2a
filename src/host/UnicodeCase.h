#pragma once

#include "platform/LetterCase.h"

namespace tunevale::host {

/// Letter case by utf8proc's tables, the same in every locale. One character maps to one, except where
/// Unicode says otherwise for a title ("ß" to "Ss") or a dotted capital I; a capital sigma that ends a word
/// becomes the final one. Scripts without case and combining marks stay as they are, ill-formed text becomes
/// U+FFFD.
class UnicodeCase : public LetterCase {
 public:
  std::string lowercaseString(std::string_view utf8) override;
  std::string capitalizedString(std::string_view utf8) override;
};

}  // namespace tunevale::host
