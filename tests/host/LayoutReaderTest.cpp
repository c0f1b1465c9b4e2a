#include <gtest/gtest.h>

#include "StubScreens.h"
#include "foundation/Text.h"
#include "host/LayoutReader.h"
#include "support/World.h"

namespace tunevale::host {
namespace {

class LayoutReaderTest : public testing::Test {
 protected:
  LayoutReaderTest() { test::addStubs(registry_); }

  InterfaceLayout read(const std::string& text) { return folder_.read(text, registry_); }
  /// The reason with its line and column, without the path.
  std::string refusalOf(const std::string& text) {
    try {
      read(text);
    } catch (const LayoutError& error) {
      const std::string message = error.what();
      EXPECT_TRUE(message.starts_with(folder_.layoutPath() + ":")) << message;
      return message.substr(folder_.layoutPath().size() + 1);
    }
    return "none";
  }
  /// The same for the stub layout with one change.
  std::string refusalWith(const std::string& from, const std::string& to) {
    std::string text = test::stubLayout();
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return refusalOf(text.replace(at, from.size(), to));
  }
  std::string reasonWith(const std::string& from, const std::string& to) {
    const std::string refusal = refusalWith(from, to);
    return refusal.substr(refusal.find(": ") + 2);
  }

  test::World world_;
  ControllerRegistry registry_{world_.platform};
  test::LayoutFolder folder_;
};

TEST_F(LayoutReaderTest, ReadsScenesElementsRowsSeguesAndImages) {
  const InterfaceLayout layout = read(test::stubLayout());
  EXPECT_EQ(layout.initial, "Home");
  EXPECT_EQ(layout.imageFolder, folder_.imageFolder());
  EXPECT_EQ(layout.images, (std::set<std::string, std::less<>>{"dot", "spin0", "spin1"}));
  EXPECT_EQ(layout.sequences, (std::set<std::string, std::less<>>{"spin"}));
  EXPECT_EQ(layout.scene("Second")->title, "< Second");
  EXPECT_EQ(layout.scene("second"), nullptr);

  const auto& elements = layout.scene("Home")->content.children;
  ASSERT_EQ(elements.size(), 6U);
  EXPECT_EQ(elements[0].text, "at first");
  EXPECT_EQ(elements[0].style, "title");
  EXPECT_EQ(elements[1].children[0].action, "act");
  EXPECT_EQ(elements[3].rows[0].content.children[1].outlet, "use");
  EXPECT_EQ(elements[4].segue->to, "Second");
  EXPECT_TRUE(elements[4].segue->modal);
}

TEST_F(LayoutReaderTest, PointsAtTheMistake) {
  EXPECT_EQ(refusalOf("<interface initial=\"A\">\n  <!-- é --> <scen/>\n</interface>"),
            "2:15: there is no element \"scen\"");
  EXPECT_EQ(refusalOf("<interface initial=\"A\">\n<é "),
            "2:3: this is not well-formed XML: Error parsing start element tag");
  EXPECT_EQ(refusalOf("<interface>\xFF</interface>"), "1:1: the file is not UTF-8");
  EXPECT_EQ(refusalWith("text=\"at first\"", "text=\"at first\" txt=\"x\""),
            "4:56: \"label\" has no attribute \"txt\"");
  EXPECT_EQ(refusalWith("outlet=\"name\"", "outlet=\"nam\""), "8:14: \"StubRow\" has no outlet \"nam\"");
}

TEST_F(LayoutReaderTest, RefusesWhatTheClassesDoNotHave) {
  EXPECT_EQ(reasonWith("class=\"StubScreen\"", "class=\"Nobody\""), "there is no screen class \"Nobody\"");
  EXPECT_EQ(reasonWith("class=\"StubRow\"", "class=\"StubScreen\""), "there is no row class \"StubScreen\"");
  EXPECT_EQ(reasonWith("outlet=\"line\"", "outlet=\"lien\""), "\"StubScreen\" has no outlet \"lien\"");
  EXPECT_EQ(reasonWith("outlet=\"line\"", "outlet=\"picker\""), "the outlet \"picker\" is a picker");
  EXPECT_EQ(reasonWith("outlet=\"line\"", "id=\"x\""),
            "the label for the outlet \"line\" of \"StubScreen\" is missing");
  EXPECT_EQ(reasonWith("outlet=\"line\"", "id=\"button\""), "the id \"button\" is the name of an outlet");
  EXPECT_EQ(reasonWith("action=\"act\"", "action=\"react\""), "\"StubScreen\" has no action \"react\"");
  EXPECT_EQ(reasonWith("action=\"act\"", "action=\"turned\""), "the action \"turned\" is for a picker");
  EXPECT_EQ(reasonWith("action=\"turned\"", "action=\"act\""), "the action \"act\" is for a button");
  EXPECT_EQ(reasonWith("action=\"useRow\"", "action=\"act\""), "\"StubRow\" has no action \"act\"");
}

TEST_F(LayoutReaderTest, RefusesWhatIsThereTwiceOrNotAtAll) {
  EXPECT_EQ(reasonWith("identifier=\"Third\"", "identifier=\"Home\""), "the scene \"Home\" stands twice");
  EXPECT_EQ(reasonWith("<picker", "<label outlet=\"line\"/><picker"), "the name \"line\" is already taken");
  EXPECT_EQ(reasonWith("id=\"pushSegue\"", "id=\"modalSegue\""), "the name \"modalSegue\" is already taken");
  EXPECT_EQ(reasonWith("</table>",
                       "<row type=\"Row\" class=\"StubRow\"><label outlet=\"name\"/>"
                       "<button outlet=\"use\"/></row></table>"),
            "the row type \"Row\" is already taken");
  EXPECT_EQ(reasonWith("to=\"Third\"", "to=\"Fourth\""), "there is no scene \"Fourth\"");
  EXPECT_EQ(reasonWith("initial=\"Home\"", "initial=\"House\""), "there is no scene \"House\"");
  EXPECT_EQ(reasonWith("initial=\"Home\"", ""), "\"interface\" needs the attribute \"initial\"");
  EXPECT_EQ(reasonWith("image=\"dot\"", "image=\"spot\""), "there is no image \"spot\" among the images");
  EXPECT_EQ(reasonWith("<image name=\"dot\"/>", "<image name=\"gone\"/>"),
            "there is no file " + folder_.imageFolder() + "/gone.png");
  EXPECT_EQ(reasonWith("frames=\"2\"", "frames=\"3\""),
            "there is no file " + folder_.imageFolder() + "/spin2.png");
  EXPECT_EQ(reasonWith("<image name=\"dot\"/>", "<image name=\"../dot\"/>"),
            "a name is made of letters, digits, hyphens and underscores");
}

TEST_F(LayoutReaderTest, RefusesWhatMakesNoSense) {
  EXPECT_EQ(
      reasonWith("<label outlet=\"line\"", "<slider minimum=\"1\" maximum=\"x\"/><label outlet=\"line\""),
      "\"x\" is no number");
  EXPECT_EQ(
      reasonWith("<label outlet=\"line\"", "<slider minimum=\"1\" maximum=\"1\"/><label outlet=\"line\""),
      "the minimum is not below the maximum");
  EXPECT_EQ(reasonWith("present=\"push\"", "present=\"pull\""), "a segue presents by push or modal");
  EXPECT_EQ(reasonWith("present=\"push\"", "present=\"push\" action=\"act\""),
            "a button has an action or a segue, not both");
  EXPECT_EQ(reasonWith("outlet=\"button\"", "outlet=\"button\" to=\"Third\""), "only a segue has \"to\"");
  EXPECT_EQ(reasonWith("style=\"title\"", "style=\"&quot;>\""),
            "a style name is made of letters, digits and hyphens");
  EXPECT_EQ(reasonWith("<group>", "<group>hello"), "text does not belong into \"group\"");
  EXPECT_EQ(reasonWith("text=\"at first\"/>", "><group/></label>"), "\"label\" holds no other elements");
  EXPECT_EQ(reasonWith("<label outlet=\"name\"/>", "<table/>"), "a row holds no table");
  EXPECT_EQ(reasonWith("frames=\"2\"", "frames=\"1e9\""), "a sequence has 1 to 100 frames");
  EXPECT_EQ(reasonWith("style=\"title\"", "style=\"title\" style=\"title\""),
            "the attribute \"style\" stands twice");
}

TEST_F(LayoutReaderTest, RefusesHostileFiles) {
  std::string deep = test::stubLayout();
  std::string groups;
  for (int i = 0; i < 100'000; ++i) groups += "<group>";
  deep.insert(deep.find("<picker"), groups);
  EXPECT_NE(refusalOf(deep), "none");
  EXPECT_EQ(reasonWith("<picker", replacingAll(std::string(20, 'x'), "x", "<group>") +
                                      replacingAll(std::string(20, 'x'), "x", "</group>") + "<picker"),
            "elements are nested too deep");
  EXPECT_NE(refusalOf("<!DOCTYPE a [<!ENTITY x \"y\">]><interface initial=\"&x;\"/>"), "none");
  EXPECT_NE(refusalOf("<interface/><interface/>"), "none");
  EXPECT_NE(refusalOf(""), "none");
  EXPECT_THROW(readLayout(folder_.layoutPath() + ".missing", registry_), LayoutError);
}

}  // namespace
}  // namespace tunevale::host
