#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "link/LinkWorld.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

TEST(Unpairing, EndsTheSessionWhichBeginsAnewWithTheNextPhone) {
  const test::TemporaryFolder folder;
  for (const bool onWatch : {true, false}) {
    LinkWorld pair(1, {.activation = 1s});
    const auto activate = [&](int key) {
      for (End* end : {&pair.watch, &pair.phone}) {
        const auto former = end->store.setPin(KeyHash{static_cast<std::byte>(key)});
        end->session->pinDidChange(former.value());
        end->session->activate();
      }
      pair.strand.run();
    };
    activate(1);
    pair.connect({.slice = 1000, .delay = 1ms});
    pair.phone.session->setLocked(true);
    pair.strand.advance(1s);
    std::ofstream(folder.path("file")) << std::string(1'000'000, 'x');
    pair.phone.session->transferFile(folder.path("file"), {});
    pair.phone.session->updateApplicationContext({{"n", 1}});
    pair.strand.advance(100ms);
    EXPECT_EQ(std::exchange(pair.phone.ear.delivered, 0), 1U);
    EXPECT_FALSE(std::filesystem::is_empty(pair.watch.spool.path())) << "on its way";
    const std::string run = pair.watch.session->state().peerRun;
    End& first = onWatch ? pair.watch : pair.phone;
    EXPECT_FALSE(first.session->unpair());
    EXPECT_FALSE(first.session->isActivated()) << "at once";
    pair.strand.advance(1s);
    for (End* end : {&pair.watch, &pair.phone}) {
      EXPECT_FALSE(end->session->isActivated());
      EXPECT_EQ(end->session->state(), LinkState{});
      EXPECT_EQ(end->ear.states.back(), LinkState{});
      EXPECT_FALSE(end->store.peerIsLocked() || end->store.pin());
      EXPECT_TRUE(std::filesystem::is_empty(end->spool.path()));
      end->send(1);
      EXPECT_EQ(std::get<Error>(end->session->transferUserInfo({})).code, ErrorCode::notActivated);
    }
    EXPECT_EQ(pair.phone.ear.finished, Lines{"file 1 7005"});
    Wire stray(pair.strand);
    Lines refusal;
    pair.watch.session->adopt(stray.takeSecond(), false, [&](const auto& why, Duration) { refusal = {why}; });
    EXPECT_EQ(refusal, Lines{"the session is not activated"});
    pair.strand.run();
    pair.phone.session->setLocked(false);
    activate(2);
    pair.phone.session->transferUserInfo({{"n", 7}});
    pair.strand.advance(500ms);
    EXPECT_EQ(pair.watch.ear.heard.back(), "unpaired") << "the next phone is waited for like the first";
    pair.connectAndRun();
    EXPECT_EQ(pair.watch.ear.heard, (Lines{"activated", "context 1", "unpaired", "activated", "info 7"}));
    EXPECT_EQ(pair.phone.ear.delivered, 0U) << "the first phone's context is not sent to the next";
    EXPECT_EQ(pair.watch.session->state(), (LinkState{true, true, false, run}));
    EXPECT_EQ(pair.watch.outcomes, Lines{"7004"});
    activate(3);  // another in its place, without a word in between
    pair.strand.advance(1s);
    EXPECT_EQ(Lines(pair.watch.ear.heard.end() - 2, pair.watch.ear.heard.end()),
              (Lines{"unpaired", "activated"}));
  }
}

}  // namespace
}  // namespace tunevale::link
