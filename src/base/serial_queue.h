// A queue that runs tasks one at a time, in order, on a thread of its own (started with the
// first task). Any thread may post.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace kolvane {

class SerialQueue {
 public:
  SerialQueue() = default;
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  void post(std::function<void()> task);
  // Returns once every task posted before the call has run.
  void waitUntilIdle();

 private:
  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> tasks_;
  bool running_ = false;  // a task is being run
  bool stopping_ = false;
  std::thread worker_;
};

}  // namespace kolvane
