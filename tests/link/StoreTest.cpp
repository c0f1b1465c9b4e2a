// What a store keeps over a restart, and what a session makes of it.
#include <gtest/gtest.h>

#include "link/LinkWorld.h"
#include "link/RawPeer.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr Epoch kPeer = {std::byte{9}};

struct StoreTest : testing::Test {
  std::unique_ptr<SqliteStore> open(const std::string& name = "link.sqlite") {
    return std::make_unique<SqliteStore>(SqliteStore::Options{folder.path(name), ""}, Epoch{std::byte{1}});
  }
  std::string complaintAt(const std::string& name) {
    try {
      open(name);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  }
  test::TemporaryFolder folder;
};

TEST_F(StoreTest, UnpairingAndAnotherPinTakeEverythingInOneStep) {
  const KeyHash first{std::byte{1}}, second{std::byte{2}};
  for (const bool unpairs : {true, false}) {
    const auto store = open(unpairs ? "one" : "two");
    store->setPin(first);
    store->append(Queue::items, Bytes(3));
    EXPECT_FALSE(store->canWaitFor(Queue::items, 2)) << "nothing was to be sent yet";
    store->setSending(true);
    store->append(Queue::files, Bytes(3));
    EXPECT_TRUE(store->canWaitFor(Queue::files, 2) && !store->canWaitFor(Queue::files, 3));
    store->setContext({1, Bytes(3)});
    store->restart({kPeer, 1, 1, 0});
    const Row rows[] = {{1, Bytes(3)}};
    store->receive(Queue::items, rows);
    store->receiveContext({5, Bytes(1)});
    store->contextWasHandled({kPeer, 4});
    store->flush();
    EXPECT_TRUE(store->receivedContext()) << "an old one's handler says nothing of it";
    EXPECT_FALSE(store->setPin(first)->wasPaired);
    EXPECT_TRUE(store->firstFrom(Queue::items, 1)) << "the same pin again changes nothing";
    const auto unsent = unpairs ? store->unpair() : store->setPin(second);
    ASSERT_TRUE(unsent && unsent->wasPaired);
    EXPECT_EQ(unsent->items.size() + unsent->files.size(), 2U);
    EXPECT_EQ(store->pin(), unpairs ? std::nullopt : std::optional(second));
    EXPECT_NE(store->epoch(), Epoch{std::byte{1}});
    EXPECT_FALSE(store->firstFrom(Queue::items, 1) || store->firstFrom(Queue::files, 1));
    EXPECT_TRUE(store->context().body.empty());
    EXPECT_TRUE(store->received(Queue::items).empty() && !store->receivedContext());
    EXPECT_EQ(store->cursor(), Cursor{});
    EXPECT_EQ(store->append(Queue::items, Bytes(3)), 2U) << "no number is used twice";
  }
}

TEST_F(StoreTest, IsPrivateAndAloneAndSaysWhyAFileIsNone) {
  auto store = open();
  for (const auto& file : fs::directory_iterator(folder.path()))
    EXPECT_EQ(file.status().permissions(), fs::perms::owner_read | fs::perms::owner_write) << file.path();
  EXPECT_NE(complaintAt("link.sqlite").find("another process uses it"), std::string::npos);
  store.reset();
  std::ofstream(folder.path("text")) << std::string(5000, 'x');
  EXPECT_NE(complaintAt("text").find("damaged"), std::string::npos);
  EXPECT_NE(complaintAt("no/such/folder"), "");
  // A version of the tables that this program does not know.
  std::fstream(folder.path("link.sqlite"), std::ios::in | std::ios::out | std::ios::binary)
      .seekp(60)
      .write("\0\0\0\x09", 4);
  EXPECT_NE(complaintAt("link.sqlite").find("later version"), std::string::npos);
}

/// An end whose process can end and begin anew.
struct LastingEnd : End {
  LastingEnd(ManualStrand& where, Role which, Timing times) : End(where, which, times) { open(); }
  ~LastingEnd() { session.reset(); }
  void open() {
    kept.emplace(SqliteStore::Options{folder.path("db"), ""}, newEpoch(strand));
    begin(*kept);
    session->activate();
  }
  void end() {
    session.reset();
    kept.reset();
  }
  void restart() {
    end();
    open();
  }
  std::string file(std::size_t size) {
    std::ofstream(source.path("file"), std::ios::binary) << std::string(size, 'x');
    return source.path("file");
  }
  Lines spooled() const {
    Lines names;
    for (const auto& file : fs::directory_iterator(spool.path())) names.push_back(file.path());
    return names;
  }
  test::TemporaryFolder folder, source;
  std::optional<SqliteStore> kept;
};

struct RestartTest : testing::Test, WorldOf<LastingEnd> {
  void connect(Wire::Faults faults = {}) {
    wire = &WorldOf::connect(faults);
    strand.advance(1s);
  }
  Wire* wire = nullptr;
};

TEST_F(RestartTest, WhatWasNotHandledComesFirstAfterARestartAndFilesPastTheLimitWaitOutside) {
  watch.holding = true;  // the process dies before a handler has run
  const std::size_t size = kMostUndeliveredFileBytes * 2 / 5;
  for (int n = 1; n <= 3; ++n) phone.session->transferFile(phone.file(size), {{"n", n}});
  for (int n = 1; n <= 2; ++n) phone.session->transferUserInfo({{"n", n}});
  phone.session->updateApplicationContext({{"n", 1}});
  connect();
  strand.advance(10s);
  EXPECT_EQ(phone.ear.finished, (Lines{"info 1 ok", "info 2 ok", "file 1 ok", "file 2 ok"}));
  EXPECT_TRUE(phone.session->state().connected);
  phone.session->transferUserInfo({{"n", 3}});
  watch.end();
  strand.advance(1s);
  watch.holding = false;
  watch.open();
  connect();
  EXPECT_EQ(watch.ear.heard,
            (Lines{"activated", "context 1", "info 1", "info 2", "file 1", "file 2", "info 3", "file 3"}));
  watch.restart();
  connect();
  EXPECT_EQ(watch.ear.heard, Lines{"activated"}) << "all of it was handled";
  EXPECT_TRUE(watch.spooled().empty());
}

TEST_F(RestartTest, NothingRefusedIsSaidToBeDeliveredWhenTheConnectionBreaks) {
  PlistValue large(1);  // few bytes, too many values
  for (int i = 0; i < 17; ++i) large = PlistArray{large, large};
  phone.session->transferUserInfo({{"n", large}});
  phone.session->transferUserInfo({{"n", 2}});
  phone.session->updateApplicationContext({{"n", 3}});
  phone.session->transferFile(phone.file(10), {{"n", 1}});
  fs::remove_all(watch.spool.path());  // nowhere to keep it
  wire = &WorldOf::connect({.delay = 1ms});
  while (watch.kept->cursor().nextItem < 3) strand.advance(100us);
  wire->cut();
  watch.restart();
  phone.restart();
  connect();
  EXPECT_EQ(phone.ear.finished, (Lines{"info 1 7010", "info 2 ok", "file 1 ok"}));
  EXPECT_EQ(phone.ear.delivered, 1U) << "said by RESUME";
  EXPECT_EQ(watch.ear.files.size(), 1U) << "offered once more";
  EXPECT_EQ(watch.kept->cursor().refused.size(), 1U);
  phone.session->transferUserInfo({{"n", 3}});
  strand.advance(1s);
  EXPECT_TRUE(watch.kept->cursor().refused.empty());
}

TEST_F(RestartTest, AFileGoesOnWhereItStoppedAndIsSentAgainWhereItsBeginningIsDamaged) {
  phone.session->cancelFile(std::get<std::uint64_t>(phone.session->transferFile(phone.file(1), {})));
  for (const bool damaged : {false, true}) {
    phone.session->transferFile(phone.file(kFileChunk * 8), {{"n", 1}});
    strand.run();
    std::ofstream(phone.spool.path("stray")) << "left by a crash";
    phone.restart();
    EXPECT_EQ(phone.spooled().size(), 1U) << "nothing that the store does not know";
    connect({.cutAfter = kFileChunk * 5});
    phone.restart();
    watch.end();
    ASSERT_EQ(watch.spooled().size(), 1U);
    if (damaged)
      std::fstream(watch.spooled()[0], std::ios::in | std::ios::out | std::ios::binary) << "damage";
    watch.open();
    connect();
    EXPECT_EQ(watch.ear.heard, (Lines{"activated", "file 1"}));
    EXPECT_EQ(watch.ear.files, Lines{std::string(kFileChunk * 8, 'x')});
    EXPECT_EQ(wire->bytesCarried() < kFileChunk * 5, !damaged) << "not all of it again";
    EXPECT_TRUE(watch.spooled().empty() && phone.spooled().empty());
    wire->cut();
    strand.run();
  }
}

TEST_F(RestartTest, ARestoredOrLostStoreIsSaidToBoth) {
  const auto replace = [](LastingEnd& end, const fs::path& from) {
    end.end();
    fs::remove_all(end.folder.path("db"));
    if (!from.empty()) fs::copy(from, end.folder.path("db"));
    end.open();
  };
  for (LastingEnd* restored : {&phone, &watch}) {
    for (const bool isLost : {false, true}) {
      SCOPED_TRACE(std::string(restored == &phone ? "phone " : "watch ") + (isLost ? "lost" : "restored"));
      for (LastingEnd* end : {&watch, &phone}) replace(*end, "");
      phone.session->transferUserInfo({{"n", 1}});
      connect();
      restored->end();
      const fs::path copy = restored->source.path(isLost ? "lost" : "kept");
      fs::copy(restored->folder.path("db"), copy);
      restored->open();
      for (int n = 2; n <= 4; ++n) phone.session->transferUserInfo({{"n", n}});
      connect();
      replace(*restored, isLost ? fs::path() : copy);
      // As many again, so that the numbers alone look as if nothing had happened.
      for (int n = 12; n <= 15; ++n) phone.session->transferUserInfo({{"n", n}});
      if (restored == &watch) phone.restart();
      watch.ear.heard.clear();
      connect();
      const auto has = [](const Lines& lines, const std::string& line) {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
      };
      EXPECT_TRUE(has(watch.ear.heard, "reset") || has(phone.ear.heard, "reset"));
      if (restored == &watch && isLost) {
        EXPECT_FALSE(has(watch.ear.heard, "reset")) << "a fresh receiver has lost nothing";
      }
      for (int n = 12; n <= 15; ++n) EXPECT_TRUE(has(watch.ear.heard, "info " + std::to_string(n))) << n;
    }
  }
}

}  // namespace
}  // namespace tunevale::link
