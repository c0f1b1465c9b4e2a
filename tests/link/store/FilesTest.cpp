// The edges of the store and of the spool: what fits, what is given back, and what is safe before what.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "link/Crypto.h"
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
    const std::vector<Row> rows = store.acknowledge(queue, 34);
    EXPECT_EQ(rows.size() + store.acknowledge(queue, 34).size(), 33U);
    EXPECT_EQ(rows.size(), 32U);
    while (!store.acknowledge(queue, kMostQueuedRows + 2).empty()) {
    }
    EXPECT_FALSE(store.firstFrom(queue, 1));

    EXPECT_TRUE(store.append(queue, Bytes(kMostQueuedBytes - 1)));
    EXPECT_FALSE(store.append(queue, Bytes(2)));
    EXPECT_TRUE(store.append(queue, Bytes(1)));
    EXPECT_FALSE(store.append(queue, Bytes(1)));
    EXPECT_TRUE(store.remove(queue, kMostQueuedRows + 3, true));
    EXPECT_FALSE(store.append(queue, Bytes(2)));
    EXPECT_TRUE(store.append(queue, Bytes(1)));
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
  Cursor cursor{kPeer, 4, 5, 6};
  {
    SqliteStore store(options, kOwn);
    store.setPin(KeyHash{std::byte{7}});
    for (const std::size_t size : {1U, 2U, 3U}) store.append(Queue::items, Bytes(size));
    for (const std::size_t size : {4U, 5U}) store.append(Queue::files, Bytes(size));
    store.setContext({8, Bytes(6)});
    store.setSending(true);
    store.setSending(false);
    store.append(Queue::items, Bytes(3));
    store.append(Queue::files, Bytes(3));
    store.setContext({9, Bytes(7)});
    store.acknowledge(Queue::items, 3);
    store.acknowledge(Queue::files, 2);
    store.restart(cursor);
    const Row rows[] = {{4, Bytes(1)}, {5, Bytes(2)}};
    EXPECT_EQ(store.receive(Queue::items, rows), 1U);
    EXPECT_EQ(store.receive(Queue::files, std::span(rows).last(1)), 3U);
    store.receiveContext({7, Bytes(9)});
    store.refuseItem({6, 7009});
    store.setPeerLocked(true);
  }
  SqliteStore store(options, Epoch{});
  cursor = {kPeer, 7, 6, 7, {{6, 7009}}};
  EXPECT_EQ(store.cursor(), cursor);
  EXPECT_EQ(store.epoch(), kOwn);
  EXPECT_EQ(store.pin(), KeyHash{std::byte{7}});
  EXPECT_TRUE(store.peerIsLocked());
  EXPECT_EQ(store.nextNumber(Queue::items), 5U);
  EXPECT_EQ(store.nextNumber(Queue::files), 4U);
  const auto waits = [&](Queue queue, std::uint64_t first, std::uint64_t last) {
    return !store.canWaitFor(queue, first - 1) && store.canWaitFor(queue, first) &&
           store.canWaitFor(queue, last) && !store.canWaitFor(queue, last + 1);
  };
  EXPECT_TRUE(waits(Queue::items, 3, 4));
  EXPECT_TRUE(waits(Queue::files, 2, 3));
  EXPECT_TRUE(store.canHaveContext(8) && !store.canHaveContext(9));
  EXPECT_EQ(store.context().number, 9U);
  EXPECT_EQ(store.context().body, Bytes(7));
  EXPECT_EQ(store.firstFrom(Queue::items, 1)->number, 3U);
  EXPECT_EQ(store.firstFrom(Queue::files, 3)->body, Bytes(3));
  const std::vector<Received> items = store.received(Queue::items), files = store.received(Queue::files);
  ASSERT_TRUE(items.size() == 2 && files.size() == 1);
  EXPECT_EQ(items[1].arrival.number, 5U);
  EXPECT_EQ(items[1].arrival.epoch, kPeer);
  EXPECT_EQ(items[1].body, Bytes(2));
  EXPECT_TRUE(items[1].arrival.again);
  store.contextWasHandled({kOwn, 7});  // of another numbering
  store.flush();
  EXPECT_EQ(store.receivedContext().value_or(Row{}).body, Bytes(9));
  const Row next[] = {{6, Bytes(1)}};
  EXPECT_EQ(store.receive(Queue::files, next), 4U) << "ids go on";
  for (const std::uint64_t id : {1U, 3U, 4U}) store.removeReceived(id);
  store.flush();
  EXPECT_EQ(store.received(Queue::items).size(), 1U);
  EXPECT_TRUE(store.received(Queue::files).empty());
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

TEST_F(FilesTest, UpToTheLargestGoAndLinksDoNot) {
  fs::resize_file(folder.path("file"), kMostFile);
  Session& phone = *world.phone.session;
  EXPECT_TRUE(std::holds_alternative<std::uint64_t>(phone.transferFile(folder.path("file"), {})));
  fs::resize_file(folder.path("file"), kMostFile + 1);
  EXPECT_EQ(std::get<Error>(phone.transferFile(folder.path("file"), {})).code, ErrorCode::payloadTooLarge);
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

/// Each file takes as much as one may, and holds nothing.
struct VastSpool : Spool {
  struct File : SpoolFile {
    explicit File(bool whole) : isWhole(whole) {}
    std::uint64_t size() const override { return isWhole ? kMostFile : 0; }
    bool read(std::uint64_t, std::span<std::byte>) override { return false; }
    bool append(ByteView) override { return true; }
    bool sync() override { return isWhole = true; }
    bool isWhole;
  };
  std::unique_ptr<SpoolFile> create(const std::string&) override { return std::make_unique<File>(false); }
  std::unique_ptr<SpoolFile> open(const std::string&) override { return std::make_unique<File>(true); }
  bool rename(const std::string&, const std::string&) override { return true; }
  void remove(const std::string&) override {}
  bool sync() override { return true; }
  std::vector<std::string> names() const override { return {}; }
  std::string path(const std::string&) const override { return ""; }
};

TEST_F(FilesTest, GiveBackTheRoomThatTheyTook) {
  constexpr std::size_t kMost = kMostQueuedFileBytes / kMostFile + 1;  // the last one goes past
  const auto post = [this](Block block) { world.strand.post(std::move(block)); };
  MemoryStore& store = world.watch.store;
  const auto begin = [&] {
    world.watch.session.emplace(world.strand, store, SessionOptions{.spool = std::make_shared<VastSpool>()},
                                world.watch.ear, post, post);
    world.watch.session->activate();
    world.strand.run();
  };
  const auto queue = [&] {
    const Session::Transfer transfer = world.watch.session->transferFile(folder.path("file"), {});
    const Error* error = std::get_if<Error>(&transfer);
    EXPECT_EQ(error == nullptr ? 7015 : static_cast<int>(error->code), 7015);
    return error == nullptr;
  };
  const auto fill = [&] {
    std::size_t count = 0;
    while (count < 100 && queue()) ++count;
    return count;
  };
  begin();
  store.append(Queue::files, Bytes(kMostQueuedBytes));
  for (std::size_t i = 0; i < kMost; ++i) EXPECT_FALSE(queue()) << "the store is full";
  store.remove(Queue::files, 1, false);
  EXPECT_EQ(fill(), kMost);
  world.watch.session->cancelFile(2);
  world.strand.run();
  EXPECT_EQ(fill(), 1U) << "cancelled";
  begin();
  EXPECT_EQ(fill(), 0U) << "counted by a session that found them";
  {
    RawPeer peer(world.strand, world.watch);
    EXPECT_EQ(peer.last(FrameType::fileBegin).id, 3U);
    peer.send(FrameType::fileError, 3, PlistDictionary{{"code", 7015}});
    world.strand.run();
    EXPECT_EQ(fill(), 1U) << "refused";
  }
  RawPeer peer(world.strand, world.watch, false);
  peer.send(FrameType::hello, 0, RawPeer::introduction("phone"));
  peer.send(FrameType::resume, 0,
            PlistDictionary{{"epoch", ByteView(store.epoch())},
                            {"item", 1},
                            {"file", static_cast<std::int64_t>(store.nextNumber(Queue::files))},
                            {"context", 0}});
  world.strand.run();
  EXPECT_EQ(fill(), kMost) << "acknowledged, all at once";
}

}  // namespace
}  // namespace tunevale::link
