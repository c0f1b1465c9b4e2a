#include <random>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "foundation/Text.h"
#include "host/JsonPatch.h"

namespace json = boost::json;
using tunevale::host::jsonPatch;

namespace {

/// What a display does with a patch.
void apply(json::value& document, const json::array& patch) {
  for (const json::value& operation : patch) {
    const std::string path(operation.at("path").as_string());
    const auto& op = operation.at("op").as_string();
    if (path.empty()) {
      document = operation.at("value");
      continue;
    }
    const std::size_t slash = path.rfind('/');
    json::value& parent = document.at_pointer(path.substr(0, slash));
    std::string key = path.substr(slash + 1);
    if (parent.is_array()) {
      auto& list = parent.as_array();
      const auto index = static_cast<std::ptrdiff_t>(std::stoul(key));
      if (op == "remove") list.erase(list.begin() + index);
      if (op == "add") list.insert(list.begin() + index, operation.at("value"));
      if (op == "replace") list.at(static_cast<std::size_t>(index)) = operation.at("value");
    } else {
      key = tunevale::replacingAll(tunevale::replacingAll(key, "~1", "/"), "~0", "~");
      if (op == "remove") {
        ASSERT_EQ(parent.as_object().erase(key), 1U);
      } else {
        parent.as_object()[key] = operation.at("value");
      }
    }
  }
}

json::value randomTree(std::mt19937& dice, int depth) {
  const auto kind = dice() % (depth > 0 ? 6U : 4U);
  if (kind == 0) return nullptr;
  if (kind == 1) return dice() % 3 == 0;
  if (kind == 2) return static_cast<int>(dice() % 4);
  if (kind == 3) return json::string("text" + std::to_string(dice() % 3));
  if (kind == 4) {
    json::array list;
    for (auto i = dice() % 5; i > 0; --i) list.push_back(randomTree(dice, depth - 1));
    return list;
  }
  json::object members;
  for (auto i = dice() % 5; i > 0; --i) {
    members[std::string("k/~") + std::to_string(dice() % 6)] = randomTree(dice, depth - 1);
  }
  return members;
}

TEST(JsonPatch, TurnsAnyTreeIntoAnyOther) {
  for (unsigned seed = 0; seed < 2000; ++seed) {
    std::mt19937 dice(seed);
    json::value document = randomTree(dice, 4);
    const json::value target = randomTree(dice, 4);
    apply(document, jsonPatch(document, target));
    ASSERT_EQ(document, target) << "seed " << seed;
    ASSERT_TRUE(jsonPatch(document, target).empty()) << "seed " << seed;
  }
}

}  // namespace
