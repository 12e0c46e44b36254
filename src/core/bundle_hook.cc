// The bundle's lookup slot is defined here, beside the static initializer that replaces it:
// any program that looks a string up through a bundle refers to the slot, so the linker
// keeps this file, and with it the hook, even from a static library the host never calls.
#include "core/bundle_hook.h"

#include "kolvane/lookup.h"

namespace kolvane {
namespace {

std::u16string platformLookup(const Bundle& self, std::string_view /*selector*/,
                              std::string_view key, std::u16string_view value,
                              std::string_view table) {
  return self.platformLocalizedStringForKey(key, value, table);
}

constinit std::atomic<Bundle::LocalizedStringImp> gLocalizedStringForKey{&platformLookup};

}  // namespace

constinit std::atomic<Bundle::LocalizedStringImp> LocalizedStringForKeyIMP{nullptr};

std::atomic<Bundle::LocalizedStringImp>& Bundle::localizedStringForKeyImp() {
  return gLocalizedStringForKey;
}

std::u16string Bundle::localizedStringForKey(std::string_view key, std::u16string_view value,
                                             std::string_view table) const {
  const LocalizedStringImp imp = gLocalizedStringForKey.load(std::memory_order_acquire);
  return imp(*this, kLocalizedStringSelector, key, value, table);
}

namespace {

// Runs while the library loads, before the host's main().
[[maybe_unused]] const bool kLookupHookInstalled = kv_class_swizzleMethodAndStore(
    gLocalizedStringForKey, &KolvaneLocalizedStringForKey, &LocalizedStringForKeyIMP);

}  // namespace
}  // namespace kolvane
