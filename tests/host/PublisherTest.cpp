#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "host/Publisher.h"
#include "host/TreeJson.h"
#include "platform/WKInterfacePicker.h"
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
  EXPECT_TRUE(publish().is_null());
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

}  // namespace
}  // namespace tunevale::host
