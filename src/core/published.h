// Objects that lookups read on any thread while the main thread replaces them.
//
// A lookup holds a LookupGuard while it uses what it read through PublishedPtr::get(). The
// main thread publishes a replacement with set(); the object it replaced is retired and freed
// once every guard that was held when it was retired is gone, so a lookup never waits for the
// main thread and never sees a freed object, and retired objects are freed while other threads
// go on looking up.
#pragma once

#include <atomic>
#include <memory>

namespace kolvane {

class LookupGuard {
 public:
  LookupGuard();
  ~LookupGuard();
  LookupGuard(const LookupGuard&) = delete;
  LookupGuard& operator=(const LookupGuard&) = delete;
};

// Keeps `replaced` alive until every LookupGuard held now is gone. Main thread.
void retirePublished(std::shared_ptr<const void> replaced);
// Frees what was retired before the guards held now were taken; what is left waits for a
// later call. Main thread.
void reclaimRetired();

template <typename T>
class PublishedPtr {
 public:
  PublishedPtr() = default;
  explicit PublishedPtr(std::shared_ptr<T> value) { set(std::move(value)); }
  PublishedPtr(const PublishedPtr&) = delete;
  PublishedPtr& operator=(const PublishedPtr&) = delete;

  // Main thread.
  void set(std::shared_ptr<T> value) {
    std::shared_ptr<T> replaced = std::move(owner_);
    owner_ = std::move(value);
    raw_.store(owner_.get(), std::memory_order_seq_cst);
    if (replaced) retirePublished(std::move(replaced));
  }
  // Main thread: the owning pointer.
  const std::shared_ptr<T>& owner() const { return owner_; }
  // Any thread, while a LookupGuard is held.
  T* get() const { return raw_.load(std::memory_order_seq_cst); }

 private:
  std::shared_ptr<T> owner_;
  std::atomic<T*> raw_{nullptr};
};

}  // namespace kolvane
