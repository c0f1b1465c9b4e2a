#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "host/JsonPatch.h"
#include "host/Publisher.h"
#include "host/TreeJson.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceSlider.h"
#include "platform/WKInterfaceTable.h"

namespace tunevale::host {
namespace {

namespace json = boost::json;

struct PublisherTest : testing::Test {
  PublisherTest() { fill("Station"); }
  void fill(const std::string& title) {
    std::vector<WKPickerItem> items(300);
    for (WKPickerItem& item : items) item.setTitle(title);
    items[0].setCaption("first");
    picker_.setItems(std::move(items));
    publisher_.markChanged();
  }
  json::object screen() {
    ++asked_;
    return {{"identifier", "Stations"}, {"tree", treeJson(picker_, [](const auto&) { return ""; })}};
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
  const json::value greeting = json::parse(publisher_.greeting());
  EXPECT_EQ(greeting.at_pointer("/screen/version"), 1);
  EXPECT_EQ(greeting.at_pointer("/screen/tree/items/0/caption"), "first");
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

TEST(JsonPatch, RemovesAddsAndReplaces) {
  const char* const cases[][3] = {
      {R"({"a":[1,{"b":2}]})", R"({"a":[1,{"b":2}]})", "[]"},
      {R"({"~/":1,"a":1,"b":1})", R"({"a":{"/~":2},"b":1,"/":null})",
       R"([{"op":"remove","path":"/~0~1"},{"op":"replace","path":"/a","value":{"/~":2}},
           {"op":"add","path":"/~1","value":null}])"},
      {"[1,2,[3],4]", "[1,[5]]",
       R"([{"op":"remove","path":"/3"},{"op":"remove","path":"/2"},{"op":"replace","path":"/1","value":[5]}])"},
      {R"([[{"~1":3}]])", R"([[{"~1":4},5,{}],6])",
       R"([{"op":"replace","path":"/0/0/~01","value":4},{"op":"add","path":"/0/1","value":5},
           {"op":"add","path":"/0/2","value":{}},{"op":"add","path":"/1","value":6}])"},
      {"[1]", "{}", R"([{"op":"replace","path":"","value":{}}])"},
  };
  for (const auto& [from, to, patch] : cases) {
    EXPECT_EQ(json::value(jsonPatch(json::parse(from), json::parse(to))), json::parse(patch)) << from;
  }
}

}  // namespace
}  // namespace tunevale::host
