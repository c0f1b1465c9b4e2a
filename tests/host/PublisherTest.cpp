#include <random>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "foundation/Text.h"
#include "host/JsonPatch.h"
#include "host/Publisher.h"
#include "host/TreeJson.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceSlider.h"
#include "platform/WKInterfaceTable.h"
#include "support/Pictures.h"

namespace tunevale::host {
namespace {

namespace json = boost::json;

class PublisherTest : public testing::Test {
 protected:
  PublisherTest() { fill("Station"); }
  void fill(const std::string& title) {
    std::vector<WKPickerItem> items(300);
    for (std::size_t i = 0; i < items.size(); ++i) {
      items[i].setTitle(title + " " + std::to_string(i));
      items[i].setCaption(items[i].title());
      items[i].setContentImage(WKImage::imageWithImage(test::picture(4, 4, static_cast<std::uint32_t>(i))));
    }
    picker_.setItems(std::move(items));
    publisher_.markChanged();
  }
  json::object screen() {
    ++asked_;
    const auto imageId = [](const ImageSource& source) {
      return source.image ? std::to_string(source.image->digest) : "";
    };
    return {{"identifier", "Stations"}, {"tree", treeJson(picker_, imageId)}};
  }
  json::value publish() {
    sent_.clear();
    publisher_.publish();
    return sent_.empty() ? json::value() : json::parse(sent_).at("patch");
  }

  WKInterfacePicker picker_{ElementAttributes{.outlet = "radioPicker"}};
  std::string sent_;
  int asked_ = 0;
  Publisher publisher_{[this] { return screen(); },
                       [this](std::string message) { sent_ = std::move(message); }};
};

TEST_F(PublisherTest, SendsNothingWhenWhatWasRebuiltIsTheSame) {
  const json::value first = json::parse(publisher_.greeting()).at("screen");
  EXPECT_EQ(first.at("version"), 1);
  fill("Station");
  EXPECT_TRUE(publish().is_null());
  picker_.setSelectedItemIndex(7);
  publisher_.markChanged();
  EXPECT_EQ(publish(), json::parse(R"([{"op":"replace","path":"/tree/selected","value":7},
                                       {"op":"replace","path":"/version","value":2}])"));
  const int asked = asked_;
  EXPECT_TRUE(publish().is_null());
  EXPECT_EQ(asked_, asked) << "nothing was looked at that cannot have changed";
}

TEST_F(PublisherTest, SendsTheWholeWhenThatIsShorter) {
  publisher_.screen();
  fill("Another station");
  const json::value patch = publish();
  ASSERT_EQ(patch.as_array().size(), 1U);
  EXPECT_EQ(patch.at_pointer("/0/path"), "");
  EXPECT_EQ(patch.at_pointer("/0/value"), json::parse(publisher_.screen()));
  picker_.setItems({});
  publisher_.markChanged();
  EXPECT_EQ(publish().at_pointer("/0/value/tree/items").as_array().size(), 0U);
}

TEST(TreeJson, SaysWhatIsThereAndLeavesOutWhatIsNot) {
  WKInterfaceGroup root({.style = "fill"});
  root.setBackgroundColor(Color{0.1F, 0, 1, 0.5F});
  root.setBackgroundImageNamed("spin");
  root.startAnimatingWithImagesInRange(1, 2, 0.5, 3);
  auto button = std::make_unique<WKInterfaceButton>(ElementAttributes{.outlet = "go"});
  button->setTitle("Go\xFF");
  button->setEnabled(false);
  button->setHidden(true);
  auto slider = std::make_unique<WKInterfaceSlider>(ElementAttributes{.label = "Level"}, 0.0F, 10.0F);
  slider->setValue(2.5F);
  auto table = std::make_unique<WKInterfaceTable>(ElementAttributes{}, [](std::string_view type) {
    return WKInterfaceTable::Row{
        std::string(type), std::make_unique<WKInterfaceGroup>(ElementAttributes{}), {}};
  });
  table->setNumberOfRows(1, "Row");
  table->rows()[0].tree->adopt(std::make_unique<WKInterfacePicker>(ElementAttributes{}));
  root.adopt(std::move(button));
  root.adopt(std::move(slider));
  root.adopt(std::move(table));
  const auto imageId = [](const ImageSource& source) { return source.name; };
  EXPECT_EQ(json::value(treeJson(root, imageId)), json::parse(R"({
    "id":"0","kind":"group","style":"fill","color":[0.1,0,1,0.5],"image":"spin",
    "animation":{"location":1,"length":2,"duration":0.5,"repeatCount":3},"children":[
      {"id":"0.0","kind":"button","outlet":"go","hidden":true,"text":"Go\uFFFD","enabled":false},
      {"id":"0.1","kind":"slider","label":"Level","minimum":0,"maximum":10,"value":2.5},
      {"id":"0.2","kind":"table","rows":[{"type":"Row","tree":{"id":"0.2/0","kind":"group","children":[
        {"id":"0.2/0.0","kind":"picker","items":[],"selected":0,"enabled":true,"focused":false}]}}]}]})"));
}

/// What a display does with a patch.
void apply(json::value& document, const json::array& patch) {
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
}  // namespace tunevale::host
