// What a store keeps over a restart, and what a session makes of it.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "link/LinkWorld.h"
#include "link/RawPeer.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr Epoch kPeer = {std::byte{9}};

KeyHash key(int n) {
  KeyHash hash{};
  hash[0] = static_cast<std::byte>(n);
  return hash;
}

struct StoreTest : testing::Test {
  std::unique_ptr<SqliteStore> open(const std::string& name = "link.sqlite") {
    return std::make_unique<SqliteStore>(SqliteStore::Options{folder.path(name), ""}, Epoch{std::byte{1}});
  }
  static std::string complaintOf(const std::function<void()>& act) {
    try {
      act();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  }
  test::TemporaryFolder folder;
};

TEST_F(StoreTest, UnpairingAndAnotherPinTakeEverythingInOneStep) {
  for (const bool unpairs : {true, false}) {
    const auto store = open(unpairs ? "one" : "two");
    store->setPin(key(1));
    store->append(Queue::items, Bytes(3));
    store->append(Queue::files, Bytes(3));
    store->setContext({1, Bytes(3)});
    store->restart({kPeer, 1, 1, 0});
    const Row rows[] = {{1, Bytes(3)}};
    store->receive(Queue::items, rows);
    EXPECT_FALSE(store->setPin(key(1))->wasPaired);
    EXPECT_TRUE(store->firstFrom(Queue::items, 1)) << "the same pin again changes nothing";
    const auto unsent = unpairs ? store->unpair() : store->setPin(key(2));
    ASSERT_TRUE(unsent && unsent->wasPaired);
    EXPECT_EQ(unsent->items.size() + unsent->files.size(), 2U);
    EXPECT_EQ(store->pin(), unpairs ? std::nullopt : std::optional(key(2)));
    EXPECT_NE(store->epoch(), Epoch{std::byte{1}});
    EXPECT_FALSE(store->firstFrom(Queue::items, 1) || store->firstFrom(Queue::files, 1));
    EXPECT_TRUE(store->context().body.empty());
    EXPECT_TRUE(store->received(Queue::items).empty());
    EXPECT_EQ(store->cursor(), Cursor{});
    EXPECT_EQ(store->append(Queue::items, Bytes(3)), 2U) << "no number is used twice";
  }
}

TEST_F(StoreTest, AnOldContextsHandlerSaysNothingOfANewOne) {
  const auto store = open();
  constexpr Epoch kLater = {std::byte{8}};
  store->restart({kPeer, 1, 1, 0});
  store->receiveContext({5, Bytes(1)});
  store->restart({kLater, 1, 1, 0});
  store->receiveContext({2, Bytes(1)});
  store->contextWasHandled({kPeer, 5});
  store->flush();
  EXPECT_TRUE(store->receivedContext());
  store->contextWasHandled({kLater, 1});
  store->flush();
  EXPECT_TRUE(store->receivedContext());
  store->contextWasHandled({kLater, 2});
  store->flush();
  EXPECT_FALSE(store->receivedContext());
}

TEST_F(StoreTest, KnowsWhatTheOtherEndCannotHave) {
  const auto store = open();
  for (int i = 0; i < 5; ++i) store->append(Queue::items, Bytes(1));
  EXPECT_FALSE(store->canWaitFor(Queue::items, 2)) << "nothing was to be sent yet";
  store->setSending(true);
  EXPECT_TRUE(store->canWaitFor(Queue::items, 6));
  EXPECT_FALSE(store->canWaitFor(Queue::items, 7));
  store->acknowledge(Queue::items, 3);
  EXPECT_FALSE(store->canWaitFor(Queue::items, 2)) << "acknowledged";
  store->setSending(false);
  store->append(Queue::items, Bytes(1));
  EXPECT_FALSE(store->canWaitFor(Queue::items, 7)) << "queued while nobody was there";
}

TEST_F(StoreTest, IsPrivateAndAlone) {
  const auto store = open();
  for (const auto& file : fs::directory_iterator(folder.path())) {
    struct stat status {};
    ASSERT_EQ(::stat(file.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U) << file.path();
  }
  EXPECT_NE(complaintOf([&] { open(); }).find("another process uses it"), std::string::npos);
}

TEST_F(StoreTest, SaysWhyAFileIsNone) {
  std::ofstream(folder.path("text")) << std::string(5000, 'x');
  EXPECT_NE(complaintOf([&] { open("text"); }).find("damaged"), std::string::npos);
  fs::create_symlink("/etc/passwd", folder.path("link"));
  EXPECT_NE(complaintOf([&] { open("link"); }), "");
  EXPECT_NE(complaintOf([&] { open("no/such/folder"); }), "");
  { open("later"); }
  {
    // A version of the tables that this program does not know.
    std::fstream file(folder.path("later"), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(60);
    file.write("\0\0\0\x09", 4);
  }
  EXPECT_NE(complaintOf([&] { open("later"); }).find("later version"), std::string::npos);
}

/// An end whose process can end and begin anew.
struct LastingEnd {
  LastingEnd(ManualStrand& where, Role which) : strand(where), role(which) { begin(); }
  void begin() {
    ear.emplace();
    store.emplace(SqliteStore::Options{folder.path("db"), ""}, newEpoch(strand));
    session.emplace(
        strand, *store, SessionOptions{.role = role, .spoolFolder = folder.path("spool")}, *ear,
        [this](Block block) {
          if (delivers) strand.post(std::move(block));
        },
        [this](Block block) { strand.post(std::move(block)); });
    session->activate();
  }
  void end() {
    session.reset();
    store.reset();
  }
  void restart() {
    end();
    begin();
  }
  std::string file(std::size_t size) {
    const std::string path = folder.path("source");
    std::ofstream(path, std::ios::binary) << std::string(size, 'x');
    return path;
  }

  ManualStrand& strand;
  const Role role;
  test::TemporaryFolder folder;
  bool delivers = true;
  std::optional<Ear> ear;
  std::optional<SqliteStore> store;
  std::optional<Session> session;
};

struct RestartTest : testing::Test {
  void connect(Wire::Faults faults = {}) {
    wire = std::make_unique<Wire>(strand, faults);
    watch.session->adopt(wire->takeSecond(), false);
    phone.session->adopt(wire->takeFirst(), true);
    strand.advance(1s);
  }
  std::vector<std::string> filesOf(const LastingEnd& end) {
    std::vector<std::string> names;
    for (const auto& file : fs::directory_iterator(end.folder.path("spool"))) names.push_back(file.path());
    return names;
  }
  ManualStrand strand;
  LastingEnd watch{strand, Role::watch};
  LastingEnd phone{strand, Role::phone};
  std::unique_ptr<Wire> wire;
  test::TemporaryFolder folderCopy;
};

TEST_F(RestartTest, WhatWasNotHandledComesFirstAfterARestartAndInOrder) {
  watch.delivers = false;  // the process dies before a handler has run
  phone.session->transferFile(phone.file(10), {{"n", 1}});
  phone.session->transferUserInfo({{"n", 1}});
  phone.session->transferUserInfo({{"n", 2}});
  phone.session->updateApplicationContext({{"n", 1}});
  connect();
  EXPECT_EQ(phone.ear->finished.size(), 3U) << "the watch has it safely";
  phone.session->transferUserInfo({{"n", 3}});
  watch.end();
  strand.advance(1s);
  watch.delivers = true;
  watch.begin();
  connect();
  const Lines expected = {"activated", "context 1", "info 1", "info 2", "file 1", "info 3"};
  EXPECT_EQ(watch.ear->heard, expected);
  watch.restart();
  connect();
  EXPECT_EQ(watch.ear->heard, Lines{"activated"}) << "all of it was handled";
  EXPECT_TRUE(filesOf(watch).empty());
}

TEST_F(RestartTest, ThatThePhoneWasLockedIsKnown) {
  phone.session->setLocked(true);
  connect();
  watch.restart();
  strand.run();
  EXPECT_TRUE(watch.session->state().needsUnlock);
  EXPECT_TRUE(watch.ear->states.back().needsUnlock);
  phone.session->setLocked(false);
  connect();
  watch.restart();
  EXPECT_FALSE(watch.session->state().needsUnlock);
}

TEST_F(RestartTest, NothingRefusedIsSaidToBeDeliveredWhenTheConnectionBreaks) {
  PlistValue large(1);  // few bytes, too many values
  for (int i = 0; i < 17; ++i) large = PlistArray{large, large};
  phone.session->transferUserInfo({{"n", large}});
  phone.session->transferUserInfo({{"n", 2}});
  phone.session->transferFile(phone.file(10), {{"n", 1}});
  fs::remove_all(watch.folder.path("spool"));  // nowhere to keep it
  wire = std::make_unique<Wire>(strand, Wire::Faults{.delay = 1ms});
  watch.session->adopt(wire->takeSecond(), false);
  phone.session->adopt(wire->takeFirst(), true);
  while (watch.store->cursor().nextItem < 3) strand.advance(100us);
  wire->cut();
  watch.restart();
  phone.restart();
  connect();
  EXPECT_EQ(phone.ear->finished, (Lines{"info 1 7010", "info 2 ok", "file 1 ok"}));
  EXPECT_EQ(watch.ear->files.size(), 1U) << "offered once more";
  EXPECT_EQ(watch.store->cursor().refused.size(), 1U);
  phone.session->transferUserInfo({{"n", 3}});
  strand.advance(1s);
  EXPECT_TRUE(watch.store->cursor().refused.empty());

  fs::remove_all(watch.folder.path("spool"));
  phone.session->transferFile(phone.file(10), {{"n", 2}});
  strand.advance(1s);
  watch.restart();
  phone.session->transferFile(phone.file(10), {{"n", 3}});
  connect();
  EXPECT_EQ(Lines(phone.ear->finished.end() - 2, phone.ear->finished.end()),
            (Lines{"file 2 7015", "file 3 ok"}));
  EXPECT_EQ(watch.ear->heard, (Lines{"activated", "file 3"}));
}

TEST_F(RestartTest, TransfersWaitForTheNextProcessAndAFileGoesOnWhereItStopped) {
  connect();
  wire->cut();
  phone.session->transferUserInfo({{"n", 1}});
  phone.session->cancelFile(std::get<std::uint64_t>(phone.session->transferFile(phone.file(1), {})));
  phone.session->transferFile(phone.file(kFileChunk * 8), {{"n", 1}});
  strand.run();
  phone.restart();
  connect({.cutAfter = kFileChunk * 5});
  ASSERT_EQ(filesOf(watch).size(), 1U);
  phone.restart();
  watch.restart();
  connect();
  EXPECT_EQ(watch.ear->heard, (Lines{"activated", "file 1"}));
  EXPECT_EQ(watch.ear->files, Lines{std::string(kFileChunk * 8, 'x')});
  EXPECT_LT(wire->bytesCarried(), kFileChunk * 5) << "not all of it again";
  EXPECT_TRUE(filesOf(watch).empty() && filesOf(phone).empty());
}

TEST_F(RestartTest, ADamagedBeginningOfAFileIsSentAgain) {
  phone.session->transferFile(phone.file(kFileChunk * 8), {{"n", 1}});
  connect({.cutAfter = kFileChunk * 5});
  watch.end();
  ASSERT_EQ(filesOf(watch).size(), 1U);
  std::fstream(filesOf(watch)[0], std::ios::in | std::ios::out | std::ios::binary) << "damage";
  watch.begin();
  connect();
  EXPECT_EQ(watch.ear->files, Lines{std::string(kFileChunk * 8, 'x')});
}

TEST_F(RestartTest, TheSpoolKeepsNothingThatTheStoreDoesNotKnow) {
  phone.session->transferFile(phone.file(10), {{"n", 1}});
  std::ofstream(phone.folder.path("spool") + "/stray") << "left by a crash";
  phone.restart();
  EXPECT_EQ(filesOf(phone).size(), 1U);
}

TEST_F(RestartTest, ARestoredOrLostStoreIsSaidToBoth) {
  const auto copyOf = [this](LastingEnd& end, const std::string& name) {
    end.end();
    fs::remove_all(folderCopy.path(name));
    fs::copy(end.folder.path(), folderCopy.path(name), fs::copy_options::recursive);
    end.begin();
  };
  const auto restore = [this](LastingEnd& end, const std::string& name) {
    end.end();
    for (const auto& entry : fs::directory_iterator(end.folder.path())) fs::remove_all(entry.path());
    if (!name.empty()) fs::copy(folderCopy.path(name), end.folder.path(), fs::copy_options::recursive);
    end.begin();
  };
  struct Case {
    bool phoneIsRestored;
    const char* copy;
  };
  for (const Case& one : {Case{true, "copy"}, Case{true, ""}, Case{false, "copy"}, Case{false, ""}}) {
    SCOPED_TRACE(std::string(one.phoneIsRestored ? "phone " : "watch ") +
                 (*one.copy != 0 ? "restored" : "lost"));
    for (LastingEnd* end : {&watch, &phone}) restore(*end, "");
    phone.session->transferUserInfo({{"n", 1}});
    connect();
    copyOf(phone, "copy");
    if (!one.phoneIsRestored) copyOf(watch, "copy");
    for (int n = 2; n <= 4; ++n) phone.session->transferUserInfo({{"n", n}});
    connect();
    LastingEnd& restored = one.phoneIsRestored ? phone : watch;
    restore(restored, one.copy);
    // As many again, so that the numbers alone look as if nothing had happened.
    for (int n = 12; n <= 15; ++n) phone.session->transferUserInfo({{"n", n}});
    restored.restart();
    if (&restored == &watch) phone.restart();
    const std::size_t heard = watch.ear->heard.size();
    connect();
    const Lines now(watch.ear->heard.begin() + static_cast<std::ptrdiff_t>(heard), watch.ear->heard.end());
    const auto has = [](const Lines& lines, const std::string& line) {
      return std::find(lines.begin(), lines.end(), line) != lines.end();
    };
    EXPECT_TRUE(has(watch.ear->heard, "reset") || has(phone.ear->heard, "reset"));
    for (int n = 12; n <= 15; ++n) EXPECT_TRUE(has(now, "info " + std::to_string(n))) << n;
  }
}

TEST_F(RestartTest, UnpairingReachesTheOtherEndAndEndsWhatWaits) {
  watch.store->setPin(key(2));
  phone.store->setPin(key(1));
  connect({.slice = 1000, .delay = 1ms});
  const Session::Transfer file = phone.session->transferFile(phone.file(1'000'000), {});
  strand.advance(20ms);
  EXPECT_FALSE(watch.session->unpair());
  const auto early = watch.session->transferFile(watch.file(10), {});
  strand.advance(1s);
  EXPECT_EQ(std::get<Error>(early).code, ErrorCode::notActivated);
  watch.session->activate();
  const auto late = watch.session->transferFile(watch.file(10), {});
  ASSERT_TRUE(std::holds_alternative<std::uint64_t>(late)) << "the count of queued bytes is right";
  watch.session->cancelFile(std::get<std::uint64_t>(late));
  strand.run();
  EXPECT_FALSE(watch.store->pin() || phone.store->pin());
  EXPECT_FALSE(watch.session->state().connected || phone.session->state().connected);
  EXPECT_EQ(phone.ear->finished, Lines{"file " + std::to_string(std::get<std::uint64_t>(file)) + " 7005"});
  EXPECT_TRUE(filesOf(watch).empty() && filesOf(phone).empty());
  EXPECT_EQ(watch.ear->heard, (Lines{"activated", "unpaired", "activated"}));
  EXPECT_EQ(phone.ear->heard.back(), "unpaired");
}

TEST_F(RestartTest, FilesWaitOutsideWhileTooManyWaitForTheirHandlers) {
  watch.delivers = false;
  const std::size_t size = kMostUndeliveredFileBytes * 2 / 5;
  for (int n = 1; n <= 3; ++n) phone.session->transferFile(phone.file(size), {{"n", n}});
  connect();
  strand.advance(10s);
  EXPECT_EQ(phone.ear->finished.size(), 2U);
  EXPECT_TRUE(phone.session->state().connected);
  watch.delivers = true;
  watch.restart();
  connect();
  strand.advance(10s);
  EXPECT_EQ(watch.ear->heard, (Lines{"activated", "file 1", "file 2", "file 3"}));
}

}  // namespace
}  // namespace tunevale::link
