#include "base/serial_queue.h"

#include <string>
#include <system_error>

#include "base/callback_guard.h"
#include "base/log.h"

namespace kolvane {

SerialQueue::~SerialQueue() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  if (worker_.joinable()) worker_.join();
}

void SerialQueue::post(std::function<void()> task) {
  if (!task) return;
  {
    std::lock_guard lock(mutex_);
    if (!worker_.joinable()) {
      // Without a thread (the system refused one) the task is dropped, never thrown at the
      // caller.
      try {
        worker_ = std::thread([this] { run(); });
      } catch (const std::system_error& error) {
        kvLog(std::string("A background task was dropped: ") + error.what());
        return;
      }
    }
    tasks_.push_back(std::move(task));
  }
  changed_.notify_all();
}

void SerialQueue::waitUntilIdle() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return tasks_.empty() && !running_; });
}

void SerialQueue::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
    if (tasks_.empty()) return;  // stopping, and nothing left to run
    std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    running_ = true;
    lock.unlock();
    // A failing task must not take the queue, or the host, down with it.
    guardCallback("A background task", task);
    lock.lock();
    running_ = false;
    changed_.notify_all();
  }
}

}  // namespace kolvane
