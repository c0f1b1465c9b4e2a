#include <gtest/gtest.h>

#include "host/PairingDesk.h"
#include "host/PairingPage.h"
#include "host/QrCode.h"
#include "link/ManualStrand.h"
#include "link/SqliteStore.h"

namespace tunevale::host {
namespace {

using Step = link::PairingStatus::Step;

struct Control : PairingControl {
  PairingView view() const override { return now; }
  std::string open(bool byCode, bool withToken) override {
    did += byCode && withToken ? "open " : "half open ";
    return now.address;
  }
  void close() override { did += "close "; }
  void answer(std::string_view code, bool yes) override {
    did += (yes ? "yes " : "no ") + std::string(code) + " ";
  }
  std::optional<std::string> unpair() override {
    did += "unpair ";
    return std::nullopt;
  }
  void dismissTrouble() override { did += "dismiss "; }
  PairingView now;
  std::string did;
};

TEST(PairingPage, ObeysOnlyWhatThePersonCanHaveMeant) {
  Control control;
  const auto status = [&](const std::string& body) { return obeyPairing(control, body).status; };
  for (const char* body :
       {"", "{}", "[]", R"({"open":false})", R"({"open":true,"close":true})", R"({"yes":true})",
        R"({"no":482913})", R"({"unpair":"now"})", R"({"dance":true})"}) {
    EXPECT_EQ(status(body), 400) << body;
  }
  EXPECT_EQ(status(R"({"yes":"482913"})"), 409) << "nothing is compared";
  EXPECT_EQ(status(R"({"unpair":true})"), 409) << "nobody is paired";
  EXPECT_EQ(control.did, "");

  control.now.status = {.step = Step::comparing, .code = "482913"};
  EXPECT_EQ(status(R"({"yes":"482914"})"), 409) << "another code";
  EXPECT_EQ(status(R"({"yes":"482913"})"), 0);
  control.now.status.step = Step::waiting;
  EXPECT_EQ(status(R"({"no":"482913"})"), 409) << "answered already";
  control.now.peer = link::KeyHash{};
  EXPECT_EQ(status(R"({"open":true})"), 0);
  EXPECT_EQ(status(R"({"close":true})"), 0);
  EXPECT_EQ(status(R"({"unpair":true})"), 0);
  EXPECT_EQ(status(R"({"dismiss":true})"), 0);
  EXPECT_EQ(control.did, "yes 482913 open close unpair dismiss ");
}

TEST(PairingDesk, KeepsTheWorseTroubleUntilItIsRead) {
  link::ManualStrand strand;
  link::SqliteStore store({}, {});
  const auto nothing = [](const auto&...) {};
  PairingDesk desk({strand, store, {}, {}, nothing, nothing, nothing});
  for (const auto why : {link::Refusal::notKnown, link::Refusal::otherKey, link::Refusal::notKnown})
    desk.rules().refused({why, {}, {}});
  EXPECT_EQ(desk.view().trouble, PairingView::Trouble::otherKey);
}

// The finder patterns of ISO/IEC 18004 stand in three corners, inside a quiet zone of four squares; beside
// the lower one is a dark square, without which it could be a mirror image.
TEST(QrCode, HasItsFinders) {
  const std::string svg = qrCodeSvg("tunevale-pair://127.0.0.1:8421?key=" + std::string(64, 'a'));
  for (const char* square : {"M4 4h1", "M10 10h1", "M6 6h1", "M12 37h1"})
    EXPECT_NE(svg.find(square), std::string::npos);
  for (const char* light : {"M5 5h1", "M11 11h1", "M3 4h1"}) EXPECT_EQ(svg.find(light), std::string::npos);
  EXPECT_EQ(qrCodeSvg(""), "");
  EXPECT_EQ(qrCodeSvg(std::string(3000, 'a')), "");
}

}  // namespace
}  // namespace tunevale::host
