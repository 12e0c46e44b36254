#include "core/published.h"

#include <mutex>
#include <vector>

namespace kolvane {
namespace {

// The order of the reader count and the published pointers must be one total order: a guard
// taken after reclaimRetired() saw no readers also sees the replacement, never the retired
// object. Hence sequentially consistent operations throughout.
std::atomic<long> gReaders{0};

// Guards nest (a lookup calls other lookups); only the outermost one touches the shared count.
thread_local int tGuardDepth = 0;

struct Retired {
  std::mutex mutex;
  std::vector<std::shared_ptr<const void>> objects;
};

Retired& retired() {
  static Retired* instance = new Retired;  // outlives every static destructor that may retire
  return *instance;
}

}  // namespace

LookupGuard::LookupGuard() {
  if (tGuardDepth++ == 0) gReaders.fetch_add(1, std::memory_order_seq_cst);
}

LookupGuard::~LookupGuard() {
  if (--tGuardDepth == 0) gReaders.fetch_sub(1, std::memory_order_seq_cst);
}

void retirePublished(std::shared_ptr<const void> replaced) {
  {
    std::lock_guard lock(retired().mutex);
    retired().objects.push_back(std::move(replaced));
  }
  reclaimRetired();
}

void reclaimRetired() {
  std::vector<std::shared_ptr<const void>> freed;
  {
    std::lock_guard lock(retired().mutex);
    if (gReaders.load(std::memory_order_seq_cst) != 0) return;
    freed.swap(retired().objects);
  }
  // Freed here, outside the lock: a large store takes a while to free.
}

}  // namespace kolvane
