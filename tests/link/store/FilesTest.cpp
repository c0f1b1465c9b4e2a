// The edges of the store and of the spool: what fits, what is given back, and what is safe before what.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "link/Crypto.h"
#include "link/FileRows.h"
#include "link/FrameWriter.h"
#include "link/LinkWorld.h"
#include "link/RawPeer.h"
#include "link/Spool.h"

namespace {

std::vector<std::string> calls;  // to the disk, by the spool: the stores here are in memory

}  // namespace

extern "C" int fdatasync(int file) {
  calls.push_back("contents");
  return static_cast<int>(::syscall(SYS_fdatasync, file));
}
extern "C" int fsync(int file) {
  calls.push_back("names");
  return static_cast<int>(::syscall(SYS_fsync, file));
}
extern "C" int renameat(int from, const char* name, int to, const char* other) noexcept {
  calls.push_back("renamed");
  return static_cast<int>(::syscall(SYS_renameat2, from, name, to, other, 0));
}

namespace tunevale::link {
namespace {

namespace fs = std::filesystem;
constexpr Epoch kOwn = {std::byte{1}}, kPeer = {std::byte{5}};

TEST(Store, KeepsTheLastThatFitsAndLosesNothingByOneMore) {
  for (const Queue queue : {Queue::items, Queue::files}) {
    MemoryStore store(kOwn);
    for (std::size_t i = 0; i < kMostQueuedRows; ++i) ASSERT_TRUE(store.append(queue, Bytes(1))) << i;
    EXPECT_FALSE(store.append(queue, Bytes(1)));
    EXPECT_EQ(store.nextNumber(queue), kMostQueuedRows + 1);
    EXPECT_TRUE(store.remove(queue, kMostQueuedRows, false)) << "the refused step has left nothing open";
    EXPECT_EQ(store.append(queue, Bytes(1)), kMostQueuedRows + 1);
    EXPECT_EQ(store.acknowledge(queue, 34).size(), 32U);
    EXPECT_EQ(store.acknowledge(queue, 34).size(), 1U);
    while (!store.acknowledge(queue, kMostQueuedRows + 2).empty()) {
    }
    EXPECT_FALSE(store.firstFrom(queue, 1));

    const auto fits = [&](std::size_t size) { return store.append(queue, Bytes(size)).has_value(); };
    EXPECT_TRUE(fits(kMostQueuedBytes - 1) && !fits(2) && fits(1) && !fits(1));
    EXPECT_TRUE(store.remove(queue, kMostQueuedRows + 3, true));
    EXPECT_TRUE(!fits(2) && fits(1));
  }
  MemoryStore store(kOwn);
  store.restart({kPeer, 1, 1, 0});
  for (std::uint64_t n = 1; n <= kMostRefusals; ++n) ASSERT_TRUE(store.refuseItem({n, 7010})) << n;
  EXPECT_FALSE(store.refuseItem({kMostRefusals + 1, 7010}));
  EXPECT_EQ(store.cursor().nextItem, kMostRefusals + 1);
  EXPECT_TRUE(store.forgetRefusals(2));
  EXPECT_EQ(store.cursor().refused.front(), (Cursor::Refusal{3, 7010}));
  EXPECT_TRUE(store.forgetRefusals(kMostRefusals));
  EXPECT_TRUE(store.cursor().refused.empty());
}

TEST(Store, HasAllAfterARestartThatItHadBefore) {
  test::TemporaryFolder folder;
  const SqliteStore::Options options{folder.path("db"), ""};
  const Row rows[] = {{4, Bytes(1)}, {5, Bytes(2)}, {6, Bytes(1)}};
  {
    SqliteStore store(options, kOwn);
    store.setPin(KeyHash{std::byte{7}});
    for (const std::size_t size : {1U, 2U, 3U}) store.append(Queue::items, Bytes(size));
    for (const std::size_t size : {4U, 5U}) store.append(Queue::files, Bytes(size));
    store.setContext({8, Bytes(6)});
    store.setSending(true);
    store.setSending(false);
    for (const Queue queue : {Queue::items, Queue::files}) store.append(queue, Bytes(3));
    store.setContext({9, Bytes(7)});
    store.acknowledge(Queue::items, 3);
    store.acknowledge(Queue::files, 2);
    store.restart({kPeer, 4, 5, 6});
    EXPECT_EQ(store.receive(Queue::items, std::span(rows).first(2)), 1U);
    EXPECT_EQ(store.receive(Queue::files, std::span(rows).subspan(1, 1)), 3U);
    store.receiveContext({7, Bytes(9)});
    store.refuseItem({6, 7009});
    store.setPeerLocked(true);
  }
  SqliteStore store(options, Epoch{});
  EXPECT_EQ(store.cursor(), (Cursor{kPeer, 7, 6, 7, {{6, 7009}}}));
  EXPECT_EQ(store.epoch(), kOwn);
  EXPECT_EQ(store.pin(), KeyHash{std::byte{7}});
  EXPECT_TRUE(store.peerIsLocked());
  EXPECT_EQ(store.nextNumber(Queue::items), 5U);
  EXPECT_EQ(store.nextNumber(Queue::files), 4U);
  const auto waits = [&](Queue queue, std::uint64_t first, std::uint64_t last) {
    return !store.canWaitFor(queue, first - 1) && store.canWaitFor(queue, first) &&
           store.canWaitFor(queue, last) && !store.canWaitFor(queue, last + 1);
  };
  EXPECT_TRUE(waits(Queue::items, 3, 4) && waits(Queue::files, 2, 3));
  EXPECT_TRUE(store.canHaveContext(8) && !store.canHaveContext(9));
  EXPECT_TRUE(store.context().number == 9 && store.context().body == Bytes(7));
  EXPECT_EQ(store.firstFrom(Queue::items, 1)->number, 3U);
  EXPECT_EQ(store.firstFrom(Queue::files, 3)->body, Bytes(3));
  const std::vector<Received> items = store.received(Queue::items);
  ASSERT_TRUE(items.size() == 2 && store.received(Queue::files).size() == 1);
  EXPECT_TRUE(items[1].arrival.number == 5 && items[1].arrival.epoch == kPeer && items[1].arrival.again);
  EXPECT_EQ(items[1].body, Bytes(2));
  store.contextWasHandled({kOwn, 7});  // of another numbering
  store.flush();
  EXPECT_EQ(store.receivedContext().value_or(Row{}).body, Bytes(9));
  EXPECT_EQ(store.receive(Queue::files, std::span(rows).last(1)), 4U) << "ids go on";
  for (const std::uint64_t id : {1U, 3U, 4U}) store.removeReceived(id);
  store.flush();
  EXPECT_TRUE(store.received(Queue::items).size() == 1 && store.received(Queue::files).empty());
  ASSERT_TRUE(store.unpair());
  EXPECT_FALSE(store.peerIsLocked() || store.canHaveContext(1));
  EXPECT_TRUE(waits(Queue::items, 1, 5) && waits(Queue::files, 1, 4));
  EXPECT_TRUE(store.append(Queue::items, Bytes(kMostQueuedBytes)));
}

struct FilesTest : testing::Test {
  FilesTest() { std::ofstream(folder.path("file")) << "abc"; }
  static Lines namesIn(const test::TemporaryFolder& spool) {
    Lines names;
    for (const auto& entry : fs::directory_iterator(spool.path())) names.push_back(entry.path().filename());
    return names;
  }
  test::TemporaryFolder folder;
  LinkWorld world;
};

TEST_F(FilesTest, AreOnTheDiskBeforeTheyHaveTheirNames) {
  world.connectAndRun();
  calls.clear();
  world.phone.session->transferFile(folder.path("file"), {{"n", 1}});
  EXPECT_EQ(calls, (Lines{"contents", "names"}));
  ASSERT_EQ(namesIn(world.phone.spool).size(), 1U);
  EXPECT_EQ(fs::status(world.phone.spool.path(namesIn(world.phone.spool)[0])).permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
  calls.clear();
  world.strand.run();
  EXPECT_EQ(calls, (Lines{"contents", "renamed", "names"}));
  EXPECT_EQ(world.watch.ear.files, Lines{"abc"});
  EXPECT_TRUE(namesIn(world.phone.spool).empty() && namesIn(world.watch.spool).empty());
}

TEST_F(FilesTest, WithAnotherHashAreRefusedAndLeaveNothing) {
  RawPeer peer(world.strand, world.watch);
  const auto offer = [&](std::uint64_t number, const Bytes32& hash) {
    peer.send(FrameType::fileBegin, number,
              PlistDictionary{{"size", 3}, {"metadata", PlistDictionary{}}, {"sha256", ByteView(hash)}});
    peer.send(FrameType::fileData, number, PlistDictionary{{"offset", 0}, {"data", asBytes("abc")}});
    world.strand.run();
  };
  Sha256 right;
  right.add(asBytes("abc"));
  offer(1, {});
  EXPECT_EQ(peer.refusal(FrameType::fileError), "1 7014");
  EXPECT_TRUE(world.watch.ear.files.empty() && namesIn(world.watch.spool).empty());
  offer(1, right.finish());
  EXPECT_EQ(world.watch.ear.files, Lines{"abc"});
}

TEST_F(FilesTest, AndLinksToThemAreNotTheSame) {
  const std::unique_ptr<Spool> spool = folderSpool(folder.path("spool"));
  EXPECT_TRUE(spool->create("a")->append(asBytes("abc")));
  Bytes more(4);
  EXPECT_FALSE(spool->open("a")->read(0, more));
  fs::create_symlink(folder.path("file"), spool->path("link"));
  EXPECT_EQ(spool->open("link"), nullptr);
  { SqliteStore({folder.path("db"), ""}, kOwn); }
  fs::create_symlink(folder.path("db"), folder.path("link"));
  EXPECT_THROW(SqliteStore({folder.path("link"), ""}, kOwn), std::runtime_error);
}

TEST_F(FilesTest, GiveBackTheRoomThatTheyTook) {
  constexpr std::size_t kMost = kMostQueuedFileBytes / kMostFile;
  const std::string large = folder.path("large");
  std::ofstream(large) << "";
  MemoryStore& store = world.watch.store;
  for (std::size_t i = 0; i < kMost; ++i) {  // as a former process has left them
    const std::string name = "file" + std::to_string(i);
    fs::copy(large, world.watch.spool.path(name));
    fs::resize_file(world.watch.spool.path(name), kMostFile);
    store.append(Queue::files, writeFileRow({name, kMostFile, {}, {}}));
  }
  const auto post = [this](Block block) { world.strand.post(std::move(block)); };
  Session& session = world.watch.session.emplace(world.strand, store,
                                                 SessionOptions{.spoolFolder = world.watch.spool.path()},
                                                 world.watch.ear, post, post);
  session.activate();
  const auto queue = [&](const std::string& path) {
    const Session::Transfer transfer = session.transferFile(path, {});
    const Error* error = std::get_if<Error>(&transfer);
    return error == nullptr ? 0 : static_cast<int>(error->code);
  };
  EXPECT_EQ(queue(folder.path("file")), 7015) << "counted by a session that found them";
  session.cancelFile(2);
  world.strand.run();
  fs::resize_file(large, kMostFile + 1);
  EXPECT_EQ(queue(large), 7009);
  fs::resize_file(large, kMostFile);
  while (store.append(Queue::files, Bytes(1))) {
  }
  EXPECT_EQ(queue(large), 7015) << "no room for its row";
  for (const std::uint64_t back : {1U, 2U})
    store.remove(Queue::files, store.nextNumber(Queue::files) - back, false);
  EXPECT_EQ(queue(large), 0) << "cancelled, and not queued";
  EXPECT_EQ(queue(folder.path("file")), 7015) << "full to the last byte";
  {
    RawPeer peer(world.strand, world.watch);
    EXPECT_EQ(peer.last(FrameType::fileBegin).id, 1U);
    peer.send(FrameType::fileError, 1, PlistDictionary{{"code", 7019}});
    world.strand.run();
    EXPECT_EQ(world.watch.ear.finished.back(), "file 1 7019");
    EXPECT_EQ(queue(folder.path("file")), 0) << "refused";
    EXPECT_EQ(queue(large), 7015) << "not more than there was";
  }
  RawPeer peer(world.strand, world.watch, false);
  peer.send(FrameType::hello, 0, RawPeer::introduction("phone"));
  peer.send(FrameType::resume, 0,
            PlistDictionary{{"epoch", ByteView(store.epoch())},
                            {"item", 1},
                            {"file", static_cast<std::int64_t>(store.nextNumber(Queue::files))},
                            {"context", 0}});
  world.strand.run();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(queue(large), 0) << "acknowledged, all at once";
}

}  // namespace
}  // namespace tunevale::link
