#include "phone/CommandFile.h"

#include <filesystem>
#include <fstream>
#include <system_error>

namespace tunevale::phone {

namespace {

constexpr std::uintmax_t kMostBytes = std::uintmax_t{64} << 20;

}  // namespace

std::optional<Bytes> readCommandFile(const std::string& path, std::string& why) {
  std::error_code failure;
  if (!std::filesystem::is_regular_file(path, failure)) {
    why = failure ? failure.message() : "not a regular file";
    return std::nullopt;
  }
  const std::uintmax_t size = std::filesystem::file_size(path, failure);
  if (failure || size > kMostBytes) {
    why = failure ? failure.message() : "larger than 64 MiB";
    return std::nullopt;
  }
  Bytes contents(static_cast<std::size_t>(size));
  std::ifstream file(path, std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(contents.data()), static_cast<std::streamsize>(size))) {
    why = "cannot be read";
    return std::nullopt;
  }
  return contents;
}

}  // namespace tunevale::phone
