// What a crash or a disk does to the queues: the process dies, the power fails, or there is no room, at any
// moment.
#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/ManualStrand.h"
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
struct DiskEnd {
  struct MortalStore : SqliteStore {
    MortalStore(DiskEnd& whose, const Epoch& fresh)
        : SqliteStore({"/link", whose.disk.vfs()}, fresh), end(whose) {}
    void passes(CrashPoint point) override { end.passes(point); }
    DiskEnd& end;
  };

  DiskEnd(ManualStrand& where, Role which) : strand(where), role(which), disk(where.random()) { begin(); }

  void passes(CrashPoint point) {
    if (disk.isDead()) return;
    ++passed[static_cast<std::size_t>(point)];
    if (death.passes == 0 || death.point.value_or(point) != point || --death.passes > 0) return;
    disk.losePower();
    if (wire != nullptr) wire->swallow(true);  // what it has written before still arrives
  }
  void begin() {
    app.emplace(effects, [this](const std::string& effect) {
      if (disk.isDead()) throw std::runtime_error("dead");
      effects.push_back(effect);
    });
    app->fileFailed = [this](std::uint64_t number, ErrorCode code) {
      if (code != ErrorCode::insufficientSpace) return;  // else the other end had no room, and has said so
      std::erase(wanted.files, fileOf.at(number));
      ++refused;
    };
    Epoch epoch{};
    for (std::byte& byte : epoch) byte = static_cast<std::byte>(strand.random());
    store.emplace(*this, epoch);
    const auto post = [this](Block block) { strand.post(std::move(block)); };
    disk.failReads(startsBlind);
    session.emplace(strand, *store, SessionOptions{.role = role, .spool = disk.spool(folder.path())}, *app,
                    post, post);
    disk.failReads(false);
    session->activate();
  }
  void restart(bool losesPower) {
    disk.losePower();
    session.reset();
    store.reset();
    disk.restorePower(losesPower);
    death = {};
    begin();
  }
  /// Queues one more of each kind; what was taken must arrive.
  void queue(std::int64_t n) {
    keep("info ", session->transferUserInfo({{"n", n}}), n, [&] { wanted.infos.push_back(n); });
    if (n % 3 == 1) {
      const std::string path = source.path("file");
      std::ofstream(path, std::ios::binary) << contentsOfFile(n);
      const Session::Transfer transfer = session->transferFile(path, {{"n", n}});
      if (const auto* number = std::get_if<std::uint64_t>(&transfer)) fileOf[*number] = n;
      keep("file ", transfer, n, [&] { wanted.files.push_back(n); });
    }
    if (n % 2 == 1)
      keep("context ", session->updateApplicationContext({{"n", n}}), n, [&] { wanted.lastContext = n; });
  }
  void keep(const std::string& kind, const Session::Transfer& transfer, std::int64_t n,
            const std::function<void()>& taken) {
    if (std::holds_alternative<std::uint64_t>(transfer)) return taken();
    ASSERT_EQ(std::get<Error>(transfer).code, ErrorCode::insufficientSpace);
    ++refused;
    wanted.perhaps.insert(kind + std::to_string(n));  // where the disk failed in the middle
  }

  ManualStrand& strand;
  const Role role;
  FaultDisk disk;
  test::TemporaryFolder folder, source;
  Wire* wire = nullptr;
  Death death;
  std::array<int, kCrashPointNames.size()> passed{};
  std::vector<std::string> effects;
  Wanted wanted;
  std::map<std::uint64_t, std::int64_t> fileOf;  // by the number of its transfer
  int refused = 0;
  bool startsBlind = false;
  std::optional<QueueApp> app;
  std::optional<MortalStore> store;
  std::optional<Session> session;
};

struct DiskWorld {
  explicit DiskWorld(std::uint64_t seed)
      : strand(seed), watch(strand, Role::watch), phone(strand, Role::phone) {}

  DiskEnd& end(Role role) { return role == Role::watch ? watch : phone; }
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
        if (n <= count && !end->disk.isDead()) end->queue(n);
      }
      strand.advance(2ms);
      if (failing.disk.isDead() && !std::exchange(restarted, true)) {
        failing.restart(losesPower);
        connect();
      } else if (n % 4 == 0) {
        connect();
      }
    }
  }
  std::string drain() {
    for (DiskEnd* end : {&watch, &phone}) end->disk.heal();
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
  DiskEnd& victim = world.end(role);
  victim.death = death;
  world.talk(victim, false, count);
  std::string wrong = victim.death.passes != 0 ? "did not come there" : world.drain();
  for (const DiskEnd* end : {&world.watch, &world.phone}) {
    if (wrong.empty() && !end->disk.names("spool/").empty()) wrong = "a file was left behind";
  }
  if (!wrong.empty()) {
    wrong = std::string(kCrashPointNames[static_cast<std::size_t>(*death.point)]) +
            (role == Role::watch ? ", watch, " : ", phone, ") + std::to_string(count) + ": " + wrong;
  }
  return wrong;
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
    if (kPlanted == PlantedFault::none) {
      EXPECT_EQ(complaint, "") << "without a crash";
    }
    for (const Role role : {Role::watch, Role::phone}) {
      for (std::size_t i = 0; i < kCrashPointNames.size(); ++i) {
        const int seen = sound.end(role).passed[i];
        if (seen == 0 && kPlanted != PlantedFault::none) continue;
        EXPECT_GT(seen, 0) << "nobody ever comes to " << kCrashPointNames[i];
        for (const int passes : std::set{1, std::max(1, seen / 2)}) {
          const std::string found = crashAt(role, {static_cast<CrashPoint>(i), passes}, count);
          ++crashes;
          if (found.empty()) continue;
          ++wrong;
          example = " (" + found + ")";
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

TEST(FaultTable, F3PowerCuts) {
  if (kPlanted != PlantedFault::none && kPlanted != PlantedFault::normalSync) GTEST_SKIP() << "F1 finds it";
  const int runs = faultCount(48, 12);
  int cuts = 0, wrong = 0;
  std::string example;
  for (int seed = 1; seed <= runs; ++seed) {
    DiskWorld world(static_cast<std::uint64_t>(seed));
    DiskEnd& victim = seed % 2 == 0 ? world.watch : world.phone;
    victim.death.passes = 1 + static_cast<int>(world.strand.random() % 120);
    world.talk(victim, true);
    cuts += victim.death.passes == 0 ? 1 : 0;
    victim.restart(true);  // and the power is cut once more, when all is still
    const std::string complaint = world.drain();
    if (complaint.empty()) continue;
    ++wrong;
    example = " (seed " + std::to_string(seed) + ": " + complaint + ")";
  }
  FaultRow("F3") << cuts << " power cuts, " << (kPlanted == PlantedFault::none ? "" : "commits not synced: ")
                 << wrong << " with losses" << example;
  EXPECT_GE(cuts, runs * 9 / 10);
  EXPECT_EQ(wrong > 0, kPlanted == PlantedFault::normalSync) << example;
}

TEST(FaultTable, F8DiskFull) {
  if (kPlanted != PlantedFault::none) GTEST_SKIP() << "has its own mistake to find";
  const int runs = faultCount(50, 12);
  int failures = 0, refused = 0, wrong = 0;
  std::string example;
  for (int seed = 1; seed <= runs; ++seed) {
    DiskWorld world(static_cast<std::uint64_t>(seed));
    DiskEnd& victim = seed % 2 == 0 ? world.watch : world.phone;
    victim.disk.failAfter(static_cast<int>(world.strand.random() % 200), seed % 4 < 2);
    world.talk(victim, true);
    failures += victim.disk.failures() > 0 ? 1 : 0;
    refused += world.watch.refused + world.phone.refused;
    victim.restart(true);
    const std::string complaint = world.drain();
    if (complaint.empty()) continue;
    ++wrong;
    example = " (seed " + std::to_string(seed) + ": " + complaint + ")";
  }
  FaultRow("F8") << failures << " full disks, " << refused << " transfers refused with 7015, " << wrong
                 << " with something acknowledged and not stored" << example;
  EXPECT_GE(failures, runs * 9 / 10);
  EXPECT_GT(refused, 0);
  EXPECT_EQ(wrong, 0) << example;
}

TEST(Disk, WhatCannotBeReadForAWhileIsNeitherTakenForDeliveredNorSweptAway) {
  if (kPlanted != PlantedFault::none) GTEST_SKIP();
  DiskWorld world(1);
  const std::string path = world.phone.source.path("file");
  std::vector<std::string> infos, files;
  for (std::int64_t n = 1; n <= 20; ++n) {  // more than the database has at hand
    world.phone.session->transferUserInfo({{"n", n}, {"b", Bytes(100'000)}});
    infos.push_back("info " + std::to_string(n));
    std::ofstream(path, std::ios::binary | std::ios::trunc) << contentsOfFile(n);
    world.phone.session->transferFile(path, {{"n", n}, {"b", Bytes(15'000)}});
    files.push_back("file " + std::to_string(n));
  }
  world.phone.startsBlind = true;
  world.phone.restart(true);
  world.phone.disk.failReads(true);
  world.connect();
  world.strand.advance(1s);
  EXPECT_FALSE(world.phone.session->state().connected);
  world.phone.disk.failReads(false);
  world.connect();
  world.strand.advance(2s);
  std::stable_partition(world.watch.effects.begin(), world.watch.effects.end(),
                        [](const std::string& effect) { return effect.starts_with("info"); });
  infos.insert(infos.end(), files.begin(), files.end());
  EXPECT_EQ(world.watch.effects, infos);
}

}  // namespace
}  // namespace tunevale::link
