#include <gtest/gtest.h>

#include "StubScreens.h"
#include "host/InputHandler.h"

namespace tunevale::host {
namespace {

using Kind = InputOutcome::Kind;
using namespace std::string_literals;

struct InputHandlerTest : testing::Test, test::StubWorld {
  InputHandlerTest() {
    navigation.start();
    top().picker->setItems(std::vector<WKPickerItem>(5));
    take();
  }
  void expectDone(const std::string& input, const std::string& line = "at first") {
    EXPECT_EQ(inputs.handle(input).why, "") << input;
    EXPECT_EQ(top().line->text(), line) << input;
  }
  void expectRefused(const std::string& input, const std::string& why) {
    const InputOutcome outcome = inputs.handle(input);
    EXPECT_EQ(outcome.kind, Kind::refused) << input;
    EXPECT_EQ(outcome.why, why) << input;
  }
  InputHandler inputs{navigation};
};

TEST_F(InputHandlerTest, TurnsTheFocusedPickerToItsEndsAndPicks) {
  expectDone(R"({"crown":2})");
  top().picker->focus();
  expectDone(R"({"crown":2})", "2");
  expectDone(R"({"crown":1000000})", "4");
  expectDone(R"({"crown":-1000000})", "0");
  top().picker->setEnabled(false);
  expectDone(R"({"crown":3})", "0");
  top().picker->setEnabled(true);
  expectDone(R"({"pick":{"picker":"picker","index":3}})", "3");
}

TEST_F(InputHandlerTest, RefusesWhatIsNotThereHiddenOrDisabled) {
  expectRefused(R"({"tap":"nothing"})", R"(there is no "nothing" here)");
  expectRefused(R"({"tap":"use"})", R"(there is no "use" here)");
  expectRefused(R"({"tap":"line"})", R"("line" is no button)");
  expectRefused(R"({"tap":{"table":"table","row":2,"outlet":"use"}})", "there is no row 2");
  expectRefused(R"({"tap":{"table":"table","row":0,"outlet":"button"}})", R"(there is no "button" here)");
  expectRefused(R"({"select":{"table":"picker","row":0}})", R"("picker" is no table)");
  expectRefused(R"({"pick":{"picker":"picker","index":5}})", "there is no item 5");
  expectRefused(R"({"page":0})", "there is no page 0");
  expectRefused(R"({"back":true})", "there is no way back from here");
  expectRefused(R"({"alert":0})", "there is no alert");

  top().button->setEnabled(false);
  expectRefused(R"({"tap":"button"})", R"("button" is disabled)");
  top().root()->children()[1]->setHidden(true);
  expectRefused(R"({"tap":"button"})", R"("button" is hidden)");
  top().table->setHidden(true);
  expectRefused(R"({"select":{"table":"table","row":0}})", R"("table" is hidden)");
  top().picker->setEnabled(false);
  expectRefused(R"({"pick":{"picker":"picker","index":0}})", R"("picker" is disabled)");
  EXPECT_TRUE(take().empty());
}

TEST_F(InputHandlerTest, LetsNothingPastAnAlertOrTheFace) {
  top().alert("!");
  for (const char* input : {R"({"tap":"button"})", R"({"back":true})", R"({"crown":1})", R"({"page":0})"}) {
    expectRefused(input, "an alert is up");
  }
  expectRefused(R"({"alert":1})", "the alert has no action 1");
  expectDone(R"({"foreground":false})");
  expectRefused(R"({"tap":"button"})", "the watch shows its face");
  expectRefused(R"({"alert":0})", "the watch shows its face");
}

TEST_F(InputHandlerTest, TellsWhatMakesNoSense) {
  const std::string deep = std::string(10000, '[') + std::string(10000, ']');
  for (const std::string& senseless :
       {R"(["tap"])"s, "\xFF"s, R"({"tap":"button","back":true})"s, R"({"jump":1})"s,
        R"({"tap":{"table":"table","row":0}})"s, R"({"select":{"table":"table","row":-1}})"s,
        R"({"select":{"table":7,"row":0}})"s, R"({"crown":1e99})"s, R"({"crown":-9223372036854775808})"s,
        R"({"back":false})"s, R"({"foreground":1})"s, R"({"tap":)" + deep + "}"}) {
    EXPECT_EQ(inputs.handle(senseless).kind, Kind::malformed) << senseless.substr(0, 80);
  }
  EXPECT_TRUE(take().empty());
}

TEST_F(InputHandlerTest, OutlivesWhatAnActionDoesToItsScreen) {
  top().pushControllerWithName("Third", {});
  top().onAct = [this] { navigation.back(); };
  expectDone(R"({"tap":"button"})");
  EXPECT_EQ(navigation.identifier(), "Home");
  top().onAct = [this] { top().fill(0); };
  expectDone(R"({"tap":"button"})");
}

}  // namespace
}  // namespace tunevale::host
