#include "host/ImageFiles.h"

#include <array>
#include <cstring>

#include <sys/stat.h>

#include "host/ImageCodecs.h"
#include "host/ImageFormats.h"
#include "host/ImageLimits.h"
#include "host/PosixFiles.h"

namespace tunevale::host {

namespace {

struct Size {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

// FNV-1a over what tells one state of one file from every other. The same file has the same digest in the
// next run of the program too: displays keep pictures under it.
std::uint64_t digestOf(const std::string& path, const struct stat& status) {
  std::uint64_t digest = 0xCBF29CE484222325U;
  const auto add = [&](const void* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
      digest = (digest ^ static_cast<const unsigned char*>(bytes)[i]) * 0x100000001B3U;
  };
  const std::array<std::int64_t, 4> state{static_cast<std::int64_t>(status.st_ino), status.st_size,
                                          status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
  add(path.data(), path.size());
  add(state.data(), sizeof state);
  return digest;
}

// The header chunk comes first (PNG, 5.6): length 13, "IHDR", width, height, five bytes more.
constexpr std::size_t kPngHeaderBytes = 33;

std::optional<Size> sizeInPngHeader(ByteView head) {
  constexpr char kStart[] = "\0\0\0\rIHDR";
  if (head.size() < kPngHeaderBytes || std::memcmp(head.data() + 8, kStart, 8) != 0) return {};
  const auto numberAt = [&](std::size_t offset) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
      number = (number << 8) | std::to_integer<std::uint32_t>(head[offset + i]);
    return number;
  };
  const Size size{numberAt(16), numberAt(20)};
  const auto isUsual = [](std::uint32_t side) { return side > 0 && side <= kMostImageSide; };
  if (!isUsual(size.width) || !isUsual(size.height)) return {};
  return size;
}

}  // namespace

std::optional<Bytes> ImageFiles::contentsOf(const Image& image) {
  const FileDescriptor file = openRegularFile(image.path);
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) return {};
  if (digestOf(image.path, status) != image.digest) return {};
  // It may fail, on a file system that cannot be written: then the file just stays as old as it is.
  const std::array<timespec, 2> used{{{0, UTIME_NOW}, {0, UTIME_OMIT}}};
  ::futimens(file.get(), used.data());
  return readFile(file, kMostImageBytes);
}

ImagePtr ImageFiles::imageAt(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
  ImagePtr known = lately_.objectForKey(path);
  if (known && known->digest == digestOf(path, status)) return known;

  const FileDescriptor file = openRegularFile(path);
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) return nullptr;
  if (status.st_size > static_cast<off_t>(kMostImageBytes)) return nullptr;
  Bytes head(kPngHeaderBytes);
  const ssize_t got = ::pread(file.get(), head.data(), head.size(), 0);
  head.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
  std::optional<Size> size;
  if (looksLikePng(head)) {
    size = sizeInPngHeader(head);
  } else if (looksLikeJpeg(head)) {
    // Nobody writes such a file here; it is read whole, once.
    const auto contents = readFile(file, kMostImageBytes);
    const ImagePtr decoded = contents ? decodeImage(*contents, kShownSide) : nullptr;
    if (decoded) size = Size{decoded->width, decoded->height};
  }
  if (!size) return nullptr;
  auto image =
      std::make_shared<const Image>(Image{size->width, size->height, {}, digestOf(path, status), path});
  lately_.setObject(image, path);
  return image;
}

}  // namespace tunevale::host
