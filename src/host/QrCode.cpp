#include "host/QrCode.h"

#include <memory>

#include <qrencode.h>

namespace tunevale::host {

namespace {

constexpr int kQuietZone = 4;

}  // namespace

std::string qrCodeSvg(std::string_view text) {
  const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
      QRcode_encodeString8bit(std::string(text).c_str(), 0, QR_ECLEVEL_M), &QRcode_free);
  if (code == nullptr) return {};
  std::string path;
  for (int y = 0; y < code->width; ++y) {
    for (int x = 0; x < code->width; ++x) {
      if ((code->data[y * code->width + x] & 1) == 0) continue;
      path += "M" + std::to_string(x + kQuietZone) + " " + std::to_string(y + kQuietZone) + "h1v1h-1z";
    }
  }
  const std::string size = std::to_string(code->width + 2 * kQuietZone);
  return R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 )" + size + " " + size +
         R"(" shape-rendering="crispEdges"><path fill="#fff" d="M0 0h)" + size + "v" + size +
         "H0z\"/><path d=\"" + path + "\"/></svg>";
}

}  // namespace tunevale::host
