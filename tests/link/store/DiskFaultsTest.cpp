// What a crash or a disk does to the queues: the process dies, the power fails, or there is no room, at any
// moment.
#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/ManualStrand.h"
#include "link/MemoryStore.h"
#include "link/PlantedFault.h"
#include "link/Session.h"
#include "link/SqliteStore.h"
#include "link/Wire.h"
#include "link/store/FaultDisk.h"
#include "link/store/QueueApp.h"
#include "support/TemporaryFolder.h"

namespace tunevale::link {

extern const PlantedFault kPlanted;  // in this build's session and store

namespace {

using namespace std::chrono_literals;

/// How an end is to die: when it has passed a point, or any, so many times.
struct Death {
  std::optional<CrashPoint> point;
  int passes = 0;
};

/// An end whose process, or whose power, fails at the moment that the test has chosen.
struct DiskEnd : QueueApp {
  struct MortalStore : SqliteStore {
    MortalStore(DiskEnd& whose, const Epoch& fresh)
        : SqliteStore({"/link", whose.disk.vfs()}, fresh), end(whose) {}
    void passes(CrashPoint point) override { end.passes(point); }
    DiskEnd& end;
  };
  DiskEnd(ManualStrand& where, Role which)
      : QueueApp([this](const std::string&) {
          if (disk.isDead) throw std::runtime_error("dead");
        }),
        strand(where),
        role(which),
        disk(where.random()) {
    begin();
  }

  void sessionDidFinishFileTransfer(std::uint64_t number, const std::optional<Error>& error) override {
    if (!error || error->code != ErrorCode::insufficientSpace) return;
    std::erase(wanted.files, fileOf.at(number));  // the other end had no room, and has said so
    ++refused;
  }
  void passes(CrashPoint point) {
    if (disk.isDead) return;
    ++passed[static_cast<std::size_t>(point)];
    if (death.passes == 0 || death.point.value_or(point) != point || --death.passes > 0) return;
    disk.isDead = true;
    if (wire != nullptr) wire->swallow(true);  // what it has written before still arrives
  }
  void begin() {
    store.emplace(*this, newEpoch(strand));
    const auto post = [this](Block block) { strand.post(std::move(block)); };
    disk.readsFail = startsBlind;
    const SessionOptions options{.role = role,
                                 .spool = std::shared_ptr<Spool>(std::shared_ptr<Spool>(), &disk)};
    session.emplace(strand, *store, options, *this, post, post);
    disk.readsFail = false;
    session->activate();
  }
  void restart(bool losesPower) {
    disk.isDead = true;
    session.reset();
    store.reset();
    disk.restorePower(losesPower);
    death = {};
    begin();
  }
  Session::Transfer queueFile(std::int64_t n, PlistDictionary metadata) {
    std::ofstream(source.path("file"), std::ios::binary) << contentsOfFile(n);
    return session->transferFile(source.path("file"), metadata);
  }
  /// Queues one more of each kind; what was taken must arrive.
  void queue(std::int64_t n) {
    if (isTaken("info ", session->transferUserInfo({{"n", n}}), n)) wanted.infos.push_back(n);
    if (n % 3 == 1) {
      const Session::Transfer file = queueFile(n, {{"n", n}});
      if (isTaken("file ", file, n)) wanted.files.push_back(fileOf[std::get<0>(file)] = n);
    }
    if (n % 2 == 1 && isTaken("context ", session->updateApplicationContext({{"n", n}}), n))
      wanted.lastContext = n;
  }
  bool isTaken(const std::string& kind, const Session::Transfer& transfer, std::int64_t n) {
    const Error* error = std::get_if<Error>(&transfer);
    if (error == nullptr) return true;
    EXPECT_EQ(error->code, ErrorCode::insufficientSpace);
    ++refused;
    wanted.perhaps.insert(kind + std::to_string(n));  // where the disk failed in the middle
    return false;
  }

  ManualStrand& strand;
  const Role role;
  FaultDisk disk;
  test::TemporaryFolder source;
  Wire* wire = nullptr;
  Death death;
  std::array<int, kCrashPointNames.size()> passed{};
  Wanted wanted;
  std::map<std::uint64_t, std::int64_t> fileOf;  // by the number of its transfer
  int refused = 0;
  bool startsBlind = false;
  std::optional<MortalStore> store;
  std::optional<Session> session;
};

struct DiskWorld {
  explicit DiskWorld(std::uint64_t seed)
      : strand(seed), watch(strand, Role::watch), phone(strand, Role::phone) {}

  void connect() {
    if (wire != nullptr) wire->cut();
    wire = std::make_unique<Wire>(strand, Wire::Faults{.slice = 20'000, .delay = 200us});
    watch.wire = phone.wire = wire.get();
    watch.session->adopt(wire->takeSecond(), false);
    phone.session->adopt(wire->takeFirst(), true);
  }
  /// Both ends queue and talk; the one that fails is restarted in the middle.
  void talk(DiskEnd& failing, bool losesPower, std::int64_t count = 12) {
    bool restarted = false;
    connect();
    // And some turns more, so that one alone can get through and die on its way.
    for (std::int64_t n = 1; n <= count + 5; ++n) {
      for (DiskEnd* end : {&watch, &phone}) {
        if (n <= count && !end->disk.isDead) end->queue(n);
      }
      strand.advance(2ms);
      if (failing.disk.isDead && !std::exchange(restarted, true)) {
        failing.restart(losesPower);
        connect();
      } else if (n % 4 == 0) {
        connect();
      }
    }
  }
  std::string drain() {
    for (DiskEnd* end : {&watch, &phone}) end->disk.failsIn.reset();
    connect();
    strand.advance(2s);
    const std::string first = complaint(phone.effects, watch.wanted);
    return first.empty() ? complaint(watch.effects, phone.wanted) : first;
  }

  ManualStrand strand;
  DiskEnd watch, phone;
  std::unique_ptr<Wire> wire;
};

/// One end dies at a point; what is wrong once it has been started again and 2 s have passed.
std::string crashAt(Role role, const Death& death, std::int64_t count) {
  DiskWorld world(static_cast<std::uint64_t>(count));
  DiskEnd& victim = role == Role::watch ? world.watch : world.phone;
  victim.death = death;
  world.talk(victim, false, count);
  if (victim.death.passes != 0) return "did not come there";
  const std::string wrong = world.drain();
  if (!wrong.empty()) return wrong;
  return world.watch.disk.names().empty() && world.phone.disk.names().empty() ? "" : "a file was left behind";
}

TEST(FaultTable, F1CrashAtEveryNamedPoint) {
  if (kPlanted == PlantedFault::normalSync) GTEST_SKIP() << "loses nothing with a process";
  int crashes = 0, wrong = 0;
  std::string example;
  for (const std::int64_t count : {7, 1, 33}) {
    if (count != 7 && faultCount(1, 0) == 0) break;
    DiskWorld sound(static_cast<std::uint64_t>(count));
    sound.talk(sound.watch, false, count);
    const std::string complaint = sound.drain();
    EXPECT_TRUE(complaint.empty() || kPlanted != PlantedFault::none) << complaint << " without a crash";
    for (const Role role : {Role::watch, Role::phone}) {
      for (std::size_t i = 0; i < kCrashPointNames.size(); ++i) {
        const int seen = (role == Role::watch ? sound.watch : sound.phone).passed[i];
        if (seen == 0 && kPlanted != PlantedFault::none) continue;
        EXPECT_GT(seen, 0) << "nobody ever comes to " << kCrashPointNames[i];
        for (const int passes : std::set{1, std::max(1, seen / 2)}) {
          const std::string found = crashAt(role, {static_cast<CrashPoint>(i), passes}, count);
          ++crashes;
          if (found.empty()) continue;
          ++wrong;
          example =
              " (" + std::string(kCrashPointNames[i]) + ", " + std::to_string(count) + ": " + found + ")";
        }
      }
    }
  }
  FaultRow row("F1");
  if (kPlanted != PlantedFault::none) row << "planted mistake " << static_cast<int>(kPlanted) << ": ";
  row << crashes << " crashes at " << kCrashPointNames.size() << " points of both ends, " << wrong
      << " with something lost or twice, or not drained in 2 s" << example;
  EXPECT_EQ(wrong > 0, kPlanted != PlantedFault::none) << example;
}

/// One end's disk is spoiled in each of some runs, and loses its power once more when all is still.
struct Runs {
  Runs(int runs, const std::function<void(DiskEnd& victim, int seed)>& spoil,
       const std::function<bool(DiskEnd& victim)>& wasSpoilt) {
    for (int seed = 1; seed <= runs; ++seed) {
      DiskWorld world(static_cast<std::uint64_t>(seed));
      DiskEnd& victim = seed % 2 == 0 ? world.watch : world.phone;
      spoil(victim, seed);
      world.talk(victim, true);
      spoilt += wasSpoilt(victim) ? 1 : 0;
      victim.restart(true);
      refused += world.watch.refused + world.phone.refused;
      const std::string complaint = world.drain();
      if (complaint.empty()) continue;
      ++wrong;
      example = " (seed " + std::to_string(seed) + ": " + complaint + ")";
    }
    EXPECT_GE(spoilt, runs * 9 / 10);
  }
  int spoilt = 0, refused = 0, wrong = 0;
  std::string example;
};

TEST(FaultTable, F3PowerCuts) {
  if (kPlanted != PlantedFault::none && kPlanted != PlantedFault::normalSync) GTEST_SKIP() << "F1 finds it";
  const Runs runs(
      faultCount(48, 12),
      [](DiskEnd& victim, int) { victim.death.passes = 1 + static_cast<int>(victim.strand.random() % 120); },
      [](DiskEnd& victim) { return victim.death.passes == 0; });
  FaultRow("F3") << runs.spoilt << " power cuts, "
                 << (kPlanted == PlantedFault::none ? "" : "commits not synced: ") << runs.wrong
                 << " with losses" << runs.example;
  EXPECT_EQ(runs.wrong > 0, kPlanted == PlantedFault::normalSync) << runs.example;
}

TEST(FaultTable, F8DiskFull) {
  if (kPlanted != PlantedFault::none) GTEST_SKIP() << "has its own mistake to find";
  const Runs runs(
      faultCount(50, 12),
      [](DiskEnd& victim, int seed) {
        victim.disk.failsIn = static_cast<int>(victim.strand.random() % 200);
        victim.disk.failsForGood = seed % 4 < 2;
      },
      [](DiskEnd& victim) { return victim.disk.failures > 0; });
  FaultRow("F8") << runs.spoilt << " full disks, " << runs.refused << " transfers refused with 7015, "
                 << runs.wrong << " with something acknowledged and not stored" << runs.example;
  EXPECT_GT(runs.refused, 0);
  EXPECT_EQ(runs.wrong, 0) << runs.example;
}

TEST(Disk, WhatCannotBeReadForAWhileIsNeitherTakenForDeliveredNorSweptAway) {
  if (kPlanted != PlantedFault::none) GTEST_SKIP();
  DiskWorld world(1);
  for (std::int64_t n = 1; n <= 20; ++n) {  // more than the database has at hand
    world.phone.session->transferUserInfo({{"n", n}, {"b", Bytes(100'000)}});
    world.phone.wanted.infos.push_back(n);
    world.phone.queueFile(n, {{"n", n}, {"b", Bytes(15'000)}});
    world.phone.wanted.files.push_back(n);
  }
  world.phone.startsBlind = true;
  world.phone.restart(true);
  world.phone.disk.readsFail = true;
  world.connect();
  world.strand.advance(1s);
  EXPECT_FALSE(world.phone.session->state().connected);
  world.phone.disk.readsFail = false;
  world.connect();
  world.strand.advance(2s);
  EXPECT_EQ(complaint(world.watch.effects, world.phone.wanted), "");
}

}  // namespace
}  // namespace tunevale::link
