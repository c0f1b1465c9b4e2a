#pragma once

#include <string>
#include <string_view>

namespace tunevale::host {

/// A text as a QR code (ISO/IEC 18004, error correction M) in an SVG of dark squares on white, one unit a
/// square, with the quiet zone of four. Empty for a text that is empty or too long for one: 2,331 bytes.
std::string qrCodeSvg(std::string_view text);

}  // namespace tunevale::host
