#include <atomic>
#include <csignal>
#include <ctime>
#include <thread>

#include <gtest/gtest.h>

#include "host/RunLoop.h"
#include "host/ThreadQueue.h"
#include "support/ManualMainQueue.h"

namespace tunevale::host {
namespace {

using namespace std::chrono_literals;

TEST(RunLoop, RunsBlocksInOrderNeverInsideTheSubmittingCall) {
  RunLoop loop;
  std::string ran;
  loop.async([&] {
    loop.async([&] {
      ran += '3';
      loop.stop();
    });
    ran += '1';
  });
  loop.async([&] { ran += '2'; });
  EXPECT_EQ(ran, "");
  loop.run();
  EXPECT_EQ(ran, "123");
}

TEST(RunLoop, RunsLaterBlocksByTimeAndThenBySubmission) {
  RunLoop loop;
  std::string ran;
  loop.after(30ms, [&] {
    ran += 'd';
    loop.stop();
  });
  loop.after(20ms, [&] { ran += 'c'; });
  loop.after(std::chrono::nanoseconds::max(), [&] { ran += "never"; });
  loop.after(-5ms, [&] { ran += 'b'; });
  loop.async([&] { ran += 'a'; });
  const auto start = std::chrono::steady_clock::now();
  loop.run();
  EXPECT_EQ(ran, "abcd");
  EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
}

TEST(RunLoop, KeepsEachThreadsOrderAndDropsNone) {
  RunLoop loop;
  constexpr int kThreads = 4, kBlocks = 2000;
  int next[kThreads] = {};
  int inOrder = 0, left = kThreads * kBlocks;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kBlocks; ++i) {
        loop.async([&, t, i] {
          inOrder += next[t]++ == i ? 1 : 0;
          if (--left == 0) loop.stop();
        });
      }
    });
  }
  loop.run();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(inOrder, kThreads * kBlocks);
}

TEST(RunLoop, EndsATurnOnceForWhatWasReadyTogether) {
  RunLoop loop;
  std::string events;
  loop.setTurnEndHandler([&] { events += '|'; });
  loop.async([&] { events += 'a'; });
  loop.async([&] {
    events += 'b';
    loop.async([&] { events += 'c'; });
  });
  loop.after(20ms, [&] {
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

TEST(RunLoop, SleepsWhileThereIsNothingToDo) {
  RunLoop loop;
  int turns = 0;
  loop.setTurnEndHandler([&] { ++turns; });
  loop.after(300ms, [&] { loop.stop(); });
  loop.run();
  EXPECT_LE(turns, 3);
}

TEST(RunLoop, StopsOnASignalAndBeforeItRuns) {
  RunLoop loop;
  loop.handleSignals();
  loop.async([] { std::raise(SIGTERM); });
  loop.run();
  bool ran = false;
  RunLoop stopped;
  stopped.async([&] { ran = true; });
  stopped.stop();
  stopped.run();
  EXPECT_FALSE(ran);
}

// What a dropped block holds may submit as it goes.
TEST(RunLoop, DropsWhatHasNotRun) {
  struct Submitter {
    RunLoop& loop;
    int& dropped;
    ~Submitter() {
      if (++dropped < 3) loop.async([again = std::make_shared<Submitter>(Submitter{loop, dropped})] {});
    }
  };
  int dropped = 0;
  {
    RunLoop loop;
    loop.after(1h, [held = std::shared_ptr<Submitter>(new Submitter{loop, dropped})] {});
  }
  EXPECT_GE(dropped, 3);
}

TEST(ThreadQueue, RunsInOrderOffTheCallersThreadAndSyncSeesAllBefore) {
  ThreadQueue queue("com.tunevale.watch.aQueueWithALongName");
  std::string ran;
  for (const char c : std::string("abc")) queue.async([&ran, c] { ran += c; });
  std::string name(32, '\0');
  std::thread::id thread;
  queue.sync([&] {
    ran += 'd';
    thread = std::this_thread::get_id();
    ::pthread_getname_np(::pthread_self(), name.data(), name.size());
  });
  EXPECT_EQ(ran, "abcd");
  EXPECT_NE(thread, std::this_thread::get_id());
  EXPECT_EQ(std::string(name.c_str()), "aQueueWithALong");
}

TEST(ThreadQueue, RunsEverythingBeforeItEnds) {
  std::atomic<int> ran = 0;
  {
    ThreadQueue queue("ending");
    for (int i = 0; i < 100; ++i) {
      queue.async([&] {
        ++ran;
        queue.async([&] { ++ran; });
      });
    }
  }
  EXPECT_EQ(ran, 200);
}

TEST(ThreadQueue, ServesManyThreadsAtOnce) {
  ThreadQueue queue("busy");
  int count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        queue.async([&] { ++count; });
        if (i % 50 == 0) queue.sync([&] { ++count; });
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  queue.sync([&] { EXPECT_EQ(count, 4 * 510); });
}

TEST(ManualMainQueue, RunsEachLaterBlockAtItsOwnTime) {
  test::ManualMainQueue queue;
  std::string ran;
  std::function<void()> tick = [&] {
    ran += 't';
    queue.after(10ms, tick);
  };
  queue.after(10ms, tick);
  queue.after(25ms, [&] { ran += 'x'; });
  queue.drain();
  EXPECT_EQ(ran, "");
  queue.advance(29ms);
  EXPECT_EQ(ran, "ttx");
  queue.advance(1ms);
  EXPECT_EQ(ran, "ttxt");
}

}  // namespace
}  // namespace tunevale::host
