#pragma once

#include <string>

namespace tunevale::test {

/// A fresh folder that goes with the object, with all it holds.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  /// Absolute, without a final slash, no link in it.
  const std::string& path() const { return path_; }
  std::string path(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace tunevale::test
