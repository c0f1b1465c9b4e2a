#include <thread>

#include <gtest/gtest.h>

#include "host/RunLoop.h"
#include "host/ThreadQueue.h"

namespace tunevale::host {
namespace {

using namespace std::chrono_literals;

TEST(RunLoop, RunsBlocksInOrderAndLaterOnesByTime) {
  RunLoop loop;
  std::string ran;
  const auto start = std::chrono::steady_clock::now();
  loop.after(30ms, [&] {
    ran += 'f';
    loop.stop();
  });
  loop.after(20ms, [&] { ran += 'e'; });
  loop.after(std::chrono::nanoseconds::max(), [&] { ran += "never"; });
  loop.after(-5ms, [&] { ran += 'c'; });
  loop.async([&] {
    loop.async([&] { ran += 'd'; });
    ran += 'a';
  });
  loop.async([&] { ran += 'b'; });
  EXPECT_EQ(ran, "");
  loop.run();
  EXPECT_EQ(ran, "abcdef");
  EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
}

// A turn is what was ready together; between turns the loop sleeps.
TEST(RunLoop, EndsATurnOnceForWhatWasReady) {
  RunLoop loop;
  std::string events;
  loop.setTurnEndHandler([&] { events += '|'; });
  loop.async([&] { events += 'a'; });
  loop.async([&] {
    events += 'b';
    loop.async([&] { events += 'c'; });
  });
  loop.after(200ms, [&] {
    events += 'd';
    loop.stop();
  });
  loop.run();
  EXPECT_EQ(events, "abc|d|");
}

TEST(RunLoop, EndsTurnsEvenWhenBlocksKeepComing) {
  RunLoop loop;
  int turns = 0;
  std::function<void()> again = [&] { loop.async(again); };
  loop.setTurnEndHandler([&] {
    if (++turns == 3) loop.stop();
  });
  loop.async(again);
  loop.run();
  EXPECT_EQ(turns, 3);
}

// What a dropped block holds may submit as it goes.
TEST(RunLoop, DropsWhatHasNotRun) {
  struct Submitter {
    RunLoop& loop;
    int& dropped;
    ~Submitter() {
      if (++dropped < 3) loop.async([held = std::shared_ptr<Submitter>(new Submitter{loop, dropped})] {});
    }
  };
  int dropped = 0;
  {
    RunLoop loop;
    loop.after(1h, [held = std::shared_ptr<Submitter>(new Submitter{loop, dropped})] {});
  }
  EXPECT_EQ(dropped, 3);
}

TEST(ThreadQueue, RunsEverythingOfEveryThreadBeforeItEnds) {
  int ran = 0;
  {
    ThreadQueue queue("busy");
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < 100; ++i) queue.async([&] { queue.async([&] { ++ran; }); });
        queue.sync([&] { ++ran; });
      });
    }
    threads.clear();
  }
  EXPECT_EQ(ran, 404);
}

}  // namespace
}  // namespace tunevale::host
