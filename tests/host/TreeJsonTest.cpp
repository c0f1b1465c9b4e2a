#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "host/ImageCodecs.h"
#include "host/ImageStore.h"
#include "host/ThreadQueue.h"
#include "host/TreeJson.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceLabel.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceTable.h"
#include "support/ManualMainQueue.h"

namespace json = boost::json;
using namespace tunevale;

namespace {

class EmptyRow : public RowController {
 public:
  void connect(Connections&) override {}
};

WKInterfaceTable::Row makeRow(std::string_view type) {
  return {std::string(type), std::make_unique<WKInterfaceLabel>(ElementAttributes{.outlet = "name"}),
          std::make_shared<EmptyRow>()};
}

WKInterfaceLabel& labelOfRow(const WKInterfaceTable& table, std::size_t row) {
  return static_cast<WKInterfaceLabel&>(*table.rows()[row].tree);
}

struct Screen {
  WKInterfaceGroup root{ElementAttributes{.style = "screen"}};
  WKInterfaceTable* table = nullptr;
  WKInterfacePicker* picker = nullptr;
  host::ImageCodecs codecs;
  test::ManualMainQueue mainQueue;
  host::InterfaceLayout layout;
  host::ImageStore images{layout, codecs, mainQueue, std::make_unique<host::ThreadQueue>("encoding")};

  Screen() {
    auto newTable = std::make_unique<WKInterfaceTable>(ElementAttributes{.outlet = "list"}, makeRow);
    auto newPicker = std::make_unique<WKInterfacePicker>(ElementAttributes{.outlet = "picker"});
    table = newTable.get();
    picker = newPicker.get();
    root.adopt(std::move(newTable));
    root.adopt(std::move(newPicker));
  }
  json::value describe() {
    return host::treeJson(root, [this](const ImageSource& source) { return images.idOf(source); });
  }
  /// As a screen that rebuilds everything does it, with pictures decoded anew each time.
  void rebuild() {
    table->setNumberOfRows(2, "Row");
    labelOfRow(*table, 1).setText("second");
    WKPickerItem item;
    item.setTitle("one");
    item.setContentImage(
        WKImage::imageWithImage(host::imageWithPixels(2, 1, {255, 0, 0, 255, 0, 255, 0, 128})));
    picker->setItems({item});
  }
};

TEST(TreeJson, IsTheSameForAScreenRebuiltWithTheSameContent) {
  Screen screen;
  screen.rebuild();
  const json::value first = screen.describe();
  screen.rebuild();
  EXPECT_EQ(screen.describe(), first);
  EXPECT_EQ(first.at_pointer("/children/0/rows/1/tree/id"), "0.0/1");
  EXPECT_EQ(first.at_pointer("/children/0/rows/1/tree/text"), "second");
  EXPECT_EQ(first.at_pointer("/children/0/rows/0/type"), "Row");
  labelOfRow(*screen.table, 0).setText("changed");
  EXPECT_NE(screen.describe(), first);
}

}  // namespace
