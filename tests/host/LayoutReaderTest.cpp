#include <gtest/gtest.h>

#include "StubScreens.h"
#include "foundation/Text.h"

namespace tunevale::host {
namespace {

struct LayoutReaderTest : testing::Test, test::StubWorld {
  /// The reason with its line and column, without the path.
  std::string refusalOf(const std::string& text) {
    try {
      folder.read(text, registry);
    } catch (const LayoutError& error) {
      const std::string message = error.what();
      EXPECT_TRUE(message.starts_with(folder.layoutPath() + ":")) << message;
      return message.substr(folder.layoutPath().size() + 1);
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
};

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

TEST_F(LayoutReaderTest, RefusesWhatIsMissingTwiceOrSenseless) {
  const std::string twenty(20, 'x');
  const std::string nested = replacingAll(twenty, "x", "<group>") + replacingAll(twenty, "x", "</group>");
  const struct {
    const char* from;
    std::string to;
    std::string reason;
  } mistakes[] = {
      {R"(class="StubScreen")", R"(class="Nobody")", R"(there is no screen class "Nobody")"},
      {R"(class="StubRow")", R"(class="StubScreen")", R"(there is no row class "StubScreen")"},
      {R"(outlet="line")", R"(outlet="lien")", R"("StubScreen" has no outlet "lien")"},
      {R"(outlet="line")", R"(outlet="picker")", R"(the outlet "picker" is a picker)"},
      {R"(outlet="line")", R"(id="x")", R"(the label for the outlet "line" of "StubScreen" is missing)"},
      {R"(action="act")", R"(action="react")", R"("StubScreen" has no action "react")"},
      {R"(action="act")", R"(action="turned")", R"(the action "turned" is for a picker)"},
      {R"(identifier="Third")", R"(identifier="Home")", R"(the scene "Home" stands twice)"},
      {"<picker", R"(<label outlet="line"/><picker)", R"(the name "line" is already taken)"},
      {R"(to="Third")", R"(to="Fourth")", R"(there is no scene "Fourth")"},
      {R"(initial="Home")", "", R"("interface" needs the attribute "initial")"},
      {R"(image="dot")", R"(image="spot")", R"(there is no image "spot" among the images)"},
      {R"(<image name="dot"/>)", R"(<image name="gone"/>)",
       "there is no file " + folder.imageFolder() + "/gone.png"},
      {R"(<image name="dot"/>)", R"(<image name="../dot"/>)",
       "a name is made of letters, digits, hyphens and underscores"},
      {R"(style="title")", R"(style="&quot;>")", "a style name is made of letters, digits and hyphens"},
      {R"(frames="2")", R"(frames="101")", "a sequence has 1 to 100 frames"},
      {R"(frames="2")", R"(frames="100")", "there is no file " + folder.imageFolder() + "/spin2.png"},
      {"<picker", nested + "<picker", "elements are nested too deep"},
      {R"(title="Home")", R"(title="Home" title="H")", R"(the attribute "title" stands twice)"},
      {R"(frames="2")", R"(frames="two")", R"("two" is no number)"},
      {"<row", "text<row", R"(text does not belong into "table")"},
      {R"(action="useRow")", R"(segue="S" to="Third" present="push")", "a row has no segues"},
      {R"(<label outlet="name"/>)", R"(<label outlet="name"/><table/>)", "a row holds no table"},
      {R"(action="act")", R"(action="act" segue="S")", "a button has an action or a segue, not both"},
      {R"(present="modal")", R"(present="fade")", "a segue presents by push or modal"},
      {R"(segue="AlertSegue" )", "", R"(only a segue has "to")"},
      {R"(outlet="line")", R"(outlet="line" id="x")", "an element with an outlet needs no id"},
      {R"(id="modalSegue")", R"(id="line")", R"(the id "line" is the name of an outlet)"},
      {"<picker", R"(<slider minimum="2" maximum="2"/><picker)", "the minimum is not below the maximum"},
      {"<row", "<label/><row", R"(a table holds rows, not "label")"},
      {R"(<image name="dot"/>)", R"(<image name="dot"/><image name="dot"/>)",
       R"(the image "dot" stands twice)"},
      {R"(text="at first"/>)", R"(text="at first"><label/></label>)", R"("label" holds no other elements)"},
  };
  for (const auto& [from, to, reason] : mistakes) {
    const std::string refusal = refusalWith(from, to);
    EXPECT_EQ(refusal.substr(refusal.find(": ") + 2), reason);
  }
}

TEST_F(LayoutReaderTest, RefusesHostileFiles) {
  EXPECT_NE(refusalWith("<picker", replacingAll(std::string(100'000, 'x'), "x", "<group>")), "none");
  for (const char* text :
       {"<!DOCTYPE a [<!ENTITY x \"y\">]><interface initial=\"&x;\"/>", "", "<interface/><interface/>"}) {
    EXPECT_NE(refusalOf(text), "none") << text;
  }
  EXPECT_THROW(readLayout(folder.layoutPath() + ".missing", registry), LayoutError);
}

}  // namespace
}  // namespace tunevale::host
