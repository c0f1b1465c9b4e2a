#include "host/ThreadQueue.h"

#include <future>

#include <pthread.h>

namespace tunevale::host {

ThreadQueue::ThreadQueue(const std::string& label) : thread_([this] { runBlocks(); }) {
  const std::string name = label.substr(label.rfind('.') + 1).substr(0, 15);
  ::pthread_setname_np(thread_.native_handle(), name.c_str());
}

ThreadQueue::~ThreadQueue() {
  {
    const MutexLock lock(mutex_);
    ending_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void ThreadQueue::async(Block block) {
  {
    const MutexLock lock(mutex_);
    blocks_.push_back(std::move(block));
  }
  changed_.notify_one();
}

void ThreadQueue::sync(const Block& block) {
  const auto done = std::make_shared<std::promise<void>>();  // both threads hold it until they have let go
  async([&block, done] {
    block();
    done->set_value();
  });
  done->get_future().wait();
}

void ThreadQueue::runBlocks() {
  while (true) {
    std::deque<Block> blocks;
    {
      const MutexLock lock(mutex_);
      while (blocks_.empty() && !ending_) changed_.wait(mutex_);
      if (blocks_.empty()) return;
      blocks.swap(blocks_);
    }
    while (!blocks.empty()) {
      blocks.front()();
      blocks.pop_front();  // what a block holds goes before the next one runs
    }
  }
}

}  // namespace tunevale::host
