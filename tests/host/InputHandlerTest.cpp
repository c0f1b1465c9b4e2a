#include <gtest/gtest.h>

#include "StubScreens.h"
#include "host/InputHandler.h"
#include "host/Navigation.h"
#include "support/World.h"

namespace tunevale::host {
namespace {

using test::StubScreen;
using Kind = InputOutcome::Kind;

class InputHandlerTest : public testing::Test {
 protected:
  InputHandlerTest() {
    test::addStubs(registry_);
    layout_ = folder_.read(test::stubLayout(), registry_);
    navigation_.start();
    screen().picker->setItems(std::vector<WKPickerItem>(5));
    world_.log.clear();
  }
  StubScreen& screen() { return static_cast<StubScreen&>(*navigation_.screen()); }
  std::vector<std::string> take() {
    auto lines = world_.log.lines();
    world_.log.clear();
    return lines;
  }
  void expectDone(const std::string& input) { EXPECT_EQ(inputs_.handle(input).why, "") << input; }
  void expectRefused(const std::string& input, const std::string& why) {
    const InputOutcome outcome = inputs_.handle(input);
    EXPECT_EQ(outcome.kind, Kind::refused) << input;
    EXPECT_EQ(outcome.why, why) << input;
  }

  test::World world_;
  ControllerRegistry registry_{world_.platform};
  test::LayoutFolder folder_;
  InterfaceLayout layout_;
  Navigation navigation_{layout_, registry_, world_.platform.sharedExtension, [] {}};
  InputHandler inputs_{navigation_};
};

TEST_F(InputHandlerTest, TurnsTheFocusedPickerToItsEndsAndPicks) {
  expectDone(R"({"crown":2})");
  EXPECT_EQ(screen().picker->selectedItemIndex(), 0U);
  screen().picker->focus();
  expectDone(R"({"crown":2})");
  EXPECT_EQ(screen().line->text(), "2");
  expectDone(R"({"crown":1000000})");
  EXPECT_EQ(screen().line->text(), "4");
  expectDone(R"({"crown":-1000000})");
  EXPECT_EQ(screen().line->text(), "0");
  screen().picker->setEnabled(false);
  expectDone(R"({"crown":3})");
  EXPECT_EQ(screen().line->text(), "0");
  screen().picker->setEnabled(true);
  expectDone(R"({"pick":{"picker":"picker","index":3}})");
  EXPECT_EQ(screen().line->text(), "3");
}

TEST_F(InputHandlerTest, RefusesWhatIsNotThereHiddenOrDisabled) {
  expectRefused(R"({"tap":"nothing"})", R"(there is no "nothing" here)");
  expectRefused(R"({"tap":""})", R"(there is no "" here)");
  expectRefused(R"({"tap":"use"})", R"(there is no "use" here)");
  expectRefused(R"({"tap":"line"})", R"("line" is no button)");
  expectRefused(R"({"tap":{"table":"table","row":2,"outlet":"use"}})", "there is no row 2");
  expectRefused(R"({"tap":{"table":"table","row":0,"outlet":"button"}})", R"(there is no "button" here)");
  expectRefused(R"({"select":{"table":"picker","row":0}})", R"("picker" is no table)");
  expectRefused(R"({"pick":{"picker":"picker","index":5}})", "there is no item 5");
  expectRefused(R"({"page":0})", "there is no page 0");
  expectRefused(R"({"back":true})", "there is no way back from here");
  expectRefused(R"({"alert":0})", "there is no alert");

  screen().button->setEnabled(false);
  expectRefused(R"({"tap":"button"})", R"("button" is disabled)");
  screen().root()->children()[1]->setHidden(true);
  expectRefused(R"({"tap":"button"})", R"("button" is hidden)");
  screen().table->rowControllerAtIndex<test::StubRow>(0)->use->setHidden(true);
  expectRefused(R"({"tap":{"table":"table","row":0,"outlet":"use"}})", R"("use" is hidden)");
  screen().table->setHidden(true);
  expectRefused(R"({"select":{"table":"table","row":0}})", R"("table" is hidden)");
  screen().picker->setEnabled(false);
  expectRefused(R"({"pick":{"picker":"picker","index":0}})", R"("picker" is disabled)");
  EXPECT_TRUE(take().empty());
}

TEST_F(InputHandlerTest, LetsNothingPastAnAlertOrTheFace) {
  screen().alert("!");
  for (const char* input : {R"({"tap":"button"})", R"({"back":true})", R"({"crown":1})", R"({"page":0})"}) {
    expectRefused(input, "an alert is up");
  }
  expectRefused(R"({"alert":1})", "the alert has no action 1");
  expectDone(R"({"foreground":false})");
  for (const char* input : {R"({"tap":"button"})", R"({"alert":0})"})
    expectRefused(input, "the watch shows its face");
}

TEST_F(InputHandlerTest, TellsWhatMakesNoSense) {
  const std::string deep = R"({"tap":)" + std::string(10000, '[') + std::string(10000, ']') + "}";
  const std::string senseless[] = {"",
                                   "[]",
                                   "\xFF",
                                   R"({"tap":"button","back":true})",
                                   R"({"jump":1})",
                                   R"({"tap":{"table":"table","row":0}})",
                                   R"({"select":{"table":"table","row":-1}})",
                                   R"({"select":{"table":7,"row":0}})",
                                   R"({"crown":1e99})",
                                   R"({"crown":-9223372036854775808})",
                                   R"({"back":false})",
                                   R"({"foreground":1})",
                                   deep};
  for (const std::string& input : senseless) {
    EXPECT_EQ(inputs_.handle(input).kind, Kind::malformed) << input.substr(0, 80);
  }
  EXPECT_TRUE(take().empty());
}

TEST_F(InputHandlerTest, OutlivesWhatAnActionDoesToItsScreen) {
  navigation_.screen()->pushControllerWithName("Third", {});
  screen().onAct = [this] { navigation_.back(); };
  expectDone(R"({"tap":"button"})");
  EXPECT_EQ(navigation_.identifier(), "Home");
  screen().onAct = [this] { screen().fill(0); };
  expectDone(R"({"tap":"button"})");
}

}  // namespace
}  // namespace tunevale::host
