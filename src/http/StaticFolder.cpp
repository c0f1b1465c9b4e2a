#include <algorithm>
#include <array>
#include <fstream>

#include "http/HttpLimits.h"
#include "http/HttpServer.h"
#include "http/ServerState.h"

namespace tunevale::http {

namespace {

struct FileType {
  std::string_view extension;
  std::string_view contentType;
};

constexpr std::array<FileType, 9> kFileTypes{{{".html", "text/html; charset=utf-8"},
                                              {".js", "text/javascript; charset=utf-8"},
                                              {".css", "text/css; charset=utf-8"},
                                              {".svg", "image/svg+xml"},
                                              {".png", "image/png"},
                                              {".jpg", "image/jpeg"},
                                              {".ico", "image/x-icon"},
                                              {".json", "application/json"},
                                              {".webmanifest", "application/manifest+json"}}};

bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '_' ||
         c == '-';
}

/// Every part plain, so that no path leads out of the folder or to a hidden file.
bool isPlainPath(std::string_view name) {
  while (true) {
    const std::size_t slash = name.find('/');
    const std::string_view part = name.substr(0, slash);
    if (part.empty() || part.front() == '.' || !std::all_of(part.begin(), part.end(), isNameCharacter)) {
      return false;
    }
    if (slash == std::string_view::npos) return true;
    name.remove_prefix(slash + 1);
  }
}

/// FNV-1a, 64 bits: tells versions of one file apart, no more.
std::string digestOf(std::string_view bytes) {
  std::uint64_t digest = 0xCBF29CE484222325U;
  for (const char c : bytes) digest = (digest ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  return std::to_string(digest);
}

}  // namespace

Response fileResponse(const std::filesystem::path& directory, std::string_view name) {
  const Response missing = Response::refusal(404, "there is no such file");
  if (!isPlainPath(name)) return missing;
  const std::filesystem::path path = directory / name;
  const std::string extension = path.extension().string();
  const auto* const type = std::find_if(kFileTypes.begin(), kFileTypes.end(),
                                        [&](const FileType& each) { return each.extension == extension; });
  if (type == kFileTypes.end()) return missing;

  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return missing;
  const auto size = std::filesystem::file_size(path, error);
  if (error || size > kMaxFileBytes) return missing;
  std::ifstream file(path, std::ios::binary);
  Response response;
  response.body.resize(static_cast<std::size_t>(size));
  if (!file.read(response.body.data(), static_cast<std::streamsize>(size))) return missing;
  response.contentType = type->contentType;
  response.cacheControl = "no-cache";
  response.etag = digestOf(response.body);
  return response;
}

void HttpServer::folder(const std::string& prefix, const std::filesystem::path& directory) {
  state_->prefixes[prefix].get = [prefix, directory](const Request& request, const Respond& respond) {
    respond(fileResponse(directory, std::string_view(request.path).substr(prefix.size())));
  };
}

}  // namespace tunevale::http
