#pragma once

#include <cstdint>

namespace tunevale::link {

/// Which of the two an end is.
enum class Role : std::uint8_t { watch, phone };

}  // namespace tunevale::link
