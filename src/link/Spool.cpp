#include "link/Spool.h"

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "link/Crypto.h"

namespace tunevale::link {
namespace {

/// Owns a file descriptor; below zero means none.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return number_; }

 private:
  const int number_;
};

class FolderFile : public SpoolFile {
 public:
  FolderFile(int descriptor, std::uint64_t size) : file_(descriptor), size_(size) {}

  std::uint64_t size() const override { return size_; }
  bool read(std::uint64_t offset, std::span<std::byte> into) override {
    while (!into.empty()) {
      const ssize_t got = ::pread(file_.get(), into.data(), into.size(), static_cast<off_t>(offset));
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return false;
      into = into.subspan(static_cast<std::size_t>(got));
      offset += static_cast<std::uint64_t>(got);
    }
    return true;
  }
  bool append(ByteView bytes) override {
    while (!bytes.empty()) {
      const ssize_t put = ::pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(size_));
      if (put < 0 && errno == EINTR) continue;
      if (put <= 0) return false;
      bytes = bytes.subspan(static_cast<std::size_t>(put));
      size_ += static_cast<std::uint64_t>(put);
    }
    return true;
  }
  bool sync() override { return ::fdatasync(file_.get()) == 0; }

 private:
  const Descriptor file_;
  std::uint64_t size_;
};

class FolderSpool : public Spool {
 public:
  explicit FolderSpool(const std::string& path)
      : path_(path), folder_(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (folder_.get() < 0) {
      throw std::runtime_error("cannot use " + path + ": " + std::generic_category().message(errno));
    }
  }

  std::unique_ptr<SpoolFile> create(const std::string& name) override {
    ::unlinkat(folder_.get(), name.c_str(), 0);
    return opened(name, O_CREAT | O_EXCL);
  }
  std::unique_ptr<SpoolFile> open(const std::string& name) override { return opened(name, 0); }
  bool rename(const std::string& from, const std::string& to) override {
    return ::renameat(folder_.get(), from.c_str(), folder_.get(), to.c_str()) == 0;
  }
  void remove(const std::string& name) override { ::unlinkat(folder_.get(), name.c_str(), 0); }
  // A file system that knows no syncing of folders says EINVAL; there is nothing more to be had from it.
  bool sync() override { return ::fsync(folder_.get()) == 0 || errno == EINVAL; }
  std::vector<std::string> names() const override {
    std::vector<std::string> names;
    std::error_code ignored;  // a folder that cannot be listed is swept another time
    for (const auto& entry : std::filesystem::directory_iterator(path_, ignored)) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  std::string path(const std::string& name) const override { return path_ + "/" + name; }

 private:
  std::unique_ptr<SpoolFile> opened(const std::string& name, int how) const {
    const int file =
        ::openat(folder_.get(), name.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | how, 0600);
    if (file < 0) return nullptr;
    struct stat status {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
      ::close(file);
      return nullptr;
    }
    return std::make_unique<FolderFile>(file, static_cast<std::uint64_t>(status.st_size));
  }

  const std::string path_;
  const Descriptor folder_;
};

}  // namespace

std::unique_ptr<Spool> folderSpool(const std::string& folder) {
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    throw std::runtime_error("cannot make " + folder + ": " + std::generic_category().message(errno));
  }
  return std::make_unique<FolderSpool>(folder);
}

std::string newSpoolName() {
  std::array<std::byte, 16> bits{};
  fillRandom(bits);
  bits[6] = (bits[6] & std::byte{0x0F}) | std::byte{0x40};
  bits[8] = (bits[8] & std::byte{0x3F}) | std::byte{0x80};
  std::string name;
  for (std::size_t i = 0; i < bits.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) name += '-';
    name += "0123456789abcdef"[std::to_integer<unsigned>(bits[i] >> 4)];
    name += "0123456789abcdef"[std::to_integer<unsigned>(bits[i] & std::byte{0x0F})];
  }
  return name;
}

}  // namespace tunevale::link
