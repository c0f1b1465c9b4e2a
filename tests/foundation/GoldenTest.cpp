// Files that other implementations wrote, in folders named by their origin, decode to what the .json beside
// them says: NAME.plist and NAME.archive (or NAME-variant.archive) to NAME.json.
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "tagged/TaggedJson.h"

namespace tunevale {
namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

PlistValue expected(const fs::path& file) {
  const std::string stem = file.stem().string();
  std::string error;
  const auto value =
      fromTaggedJsonText(contents(file.parent_path() / (stem.substr(0, stem.find('-')) + ".json")), error);
  EXPECT_TRUE(value) << error;
  return value.value_or("no .json");
}

TEST(GoldenFiles, DecodeToWhatTheyHold) {
  int files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(TUNEVALE_SOURCE_DIR "/tests/foundation/golden")) {
    const fs::path& path = entry.path();
    const bool archive = path.extension() == ".archive";
    if (!archive && path.extension() != ".plist") continue;
    SCOPED_TRACE(path.string());
    const std::string bytes = contents(path);
    const PlistValue value = expected(path);
    EXPECT_EQ(archive ? unarchiveObjectWithData(asBytes(bytes)) : readPropertyList(asBytes(bytes)), value);
    EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(value)), value);
    EXPECT_EQ(readPropertyList(writePropertyList(value)), value);
    ++files;
  }
  EXPECT_GE(files, 17);
}

}  // namespace
}  // namespace tunevale
