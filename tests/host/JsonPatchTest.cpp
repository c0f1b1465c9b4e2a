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
  using tunevale::replacingAll;
  for (const json::value& operation : patch) {
    const std::string path(operation.at("path").as_string());
    const auto& op = operation.at("op").as_string();
    if (op == "replace") {
      document.at_pointer(path) = operation.at("value");
      continue;
    }
    const std::size_t slash = path.rfind('/');
    json::value& parent = document.at_pointer(path.substr(0, slash));
    const std::string key = path.substr(slash + 1);
    if (auto* const list = parent.if_array()) {
      if (op == "add") list->push_back(operation.at("value"));
      ASSERT_EQ(key, std::to_string(list->size() - 1)) << "both at the end";
      if (op == "remove") list->pop_back();
    } else {
      const std::string name = replacingAll(replacingAll(key, "~1", "/"), "~0", "~");
      ASSERT_EQ(parent.as_object().erase(name), op == "remove" ? 1U : 0U);
      if (op == "add") parent.as_object()[name] = operation.at("value");
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
