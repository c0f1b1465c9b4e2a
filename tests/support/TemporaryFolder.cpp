#include "support/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace tunevale::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
  std::string name = fs::canonical(fs::temp_directory_path()) / "tunevale-test-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

}  // namespace tunevale::test
