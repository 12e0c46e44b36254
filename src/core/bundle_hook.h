// The replacement of the bundle's string lookup by Kolvane's, made when the library loads.
#pragma once

#include <atomic>

#include "base/log.h"
#include "kolvane/bundle.h"

namespace kolvane {

// The bundle's own lookup implementation, as it was before Kolvane replaced it. Filled once
// at load time.
extern std::atomic<Bundle::LocalizedStringImp> LocalizedStringForKeyIMP;

// Puts `newImp` in the implementation slot `method` and, when `store` is given, keeps the
// implementation it replaced there. False (and the slot untouched) when the slot holds no
// implementation to replace.
template <typename Imp>
bool kv_class_swizzleMethodAndStore(std::atomic<Imp>& method, Imp newImp, std::atomic<Imp>* store) {
  const Imp found = method.load();
  if (found == nullptr) {
    kvDebug("Swizzle: Method not found");
    return false;
  }
  const Imp replaced = method.exchange(newImp);
  if (store != nullptr) store->store(replaced != nullptr ? replaced : found);
  return true;
}

}  // namespace kolvane
