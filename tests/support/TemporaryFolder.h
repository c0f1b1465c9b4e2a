#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace tunevale::test {

/// A fresh folder that goes with the object, with all it holds.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    if (::mkdtemp(path_.data()) == nullptr) throw std::system_error(errno, std::generic_category(), path_);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  /// Absolute, without a final slash, no link in it.
  const std::string& path() const { return path_; }
  std::string path(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_ =
      std::filesystem::canonical(std::filesystem::temp_directory_path()) / "tunevale-test-XXXXXX";
};

}  // namespace tunevale::test
