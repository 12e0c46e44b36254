#include "core/published.h"

#include <mutex>
#include <vector>

namespace kolvane {
namespace {

// Readers are counted by generation. A retired object waits in the bucket of the generation
// it was retired in; the generation then moves on, and the bucket is freed once no reader
// counted in it is left. Lookups are short, so a generation drains within microseconds even
// while other threads look up without pause: retired stores are freed under steady load
// instead of waiting for a moment with no reader at all.
//
// The order of the reader counts, the generation and the published pointers must be one total
// order: a reader counted after a generation moved on also sees the replacements published
// before it moved, never the retired objects. Hence sequentially consistent operations.
std::atomic<long> gReaders[2] = {0, 0};
std::atomic<int> gGeneration{0};

// Guards nest (a lookup calls other lookups); only the outermost one is counted.
thread_local int tGuardDepth = 0;
thread_local int tGeneration = 0;

struct Retired {
  std::mutex mutex;
  std::vector<std::shared_ptr<const void>> current;  // retired in this generation
  std::vector<std::shared_ptr<const void>> waiting;  // retired in the one before
};

Retired& retired() {
  static Retired* instance = new Retired;  // outlives every static destructor that may retire
  return *instance;
}

}  // namespace

LookupGuard::LookupGuard() {
  if (tGuardDepth++ != 0) return;
  // Counted in the generation that is still current once counted: a reader counted in one
  // that just ended could hold an object retired after it, in the new one.
  for (;;) {
    const int generation = gGeneration.load(std::memory_order_seq_cst);
    gReaders[generation].fetch_add(1, std::memory_order_seq_cst);
    if (gGeneration.load(std::memory_order_seq_cst) == generation) {
      tGeneration = generation;
      return;
    }
    gReaders[generation].fetch_sub(1, std::memory_order_seq_cst);
  }
}

LookupGuard::~LookupGuard() {
  if (--tGuardDepth == 0) gReaders[tGeneration].fetch_sub(1, std::memory_order_seq_cst);
}

void retirePublished(std::shared_ptr<const void> replaced) {
  {
    std::lock_guard lock(retired().mutex);
    retired().current.push_back(std::move(replaced));
  }
  reclaimRetired();
}

void reclaimRetired() {
  std::vector<std::shared_ptr<const void>> freed;
  {
    std::lock_guard lock(retired().mutex);
    Retired& objects = retired();
    const int generation = gGeneration.load(std::memory_order_seq_cst);
    const int previous = 1 - generation;
    // The generation before must be over before this one may end.
    if (!objects.waiting.empty()) {
      if (gReaders[previous].load(std::memory_order_seq_cst) != 0) return;
      freed.swap(objects.waiting);
    }
    if (!objects.current.empty() && gReaders[previous].load(std::memory_order_seq_cst) == 0) {
      objects.waiting.swap(objects.current);
      gGeneration.store(previous, std::memory_order_seq_cst);
      // Often no reader of the generation that just ended is left already.
      if (gReaders[generation].load(std::memory_order_seq_cst) == 0) {
        for (auto& object : objects.waiting) freed.push_back(std::move(object));
        objects.waiting.clear();
      }
    }
  }
  // Freed here, outside the lock: a large store takes a while to free.
}

}  // namespace kolvane
