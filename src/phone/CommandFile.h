#pragma once

#include <optional>
#include <string>

#include "foundation/Bytes.h"

namespace tunevale::phone {

/// The contents of a file that a script names: a regular file of at most 64 MiB, which is more than the link
/// takes, so that its limit can be met. Nothing otherwise, and why.
std::optional<Bytes> readCommandFile(const std::string& path, std::string& why);

}  // namespace tunevale::phone
