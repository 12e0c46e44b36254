// The inventory of a window: every text it holds, found by walking its views (every page of
// its root controllers, shown or not) and the texts attached to them (tooltips, titles, menu
// items), each traced to its strings and checked for problems. Main thread.
#pragma once

#include <memory>
#include <vector>

#include "capture/view_strings.h"
#include "kolvane/host_view.h"
#include "kolvane/window_texts.h"

namespace kolvane {

struct KVInventoryEntry {
  KVWindowTextRow row;
  // The text traced, on the label that shows it: what a long press on it would edit.
  std::shared_ptr<KVViewStrings> capture;
  std::optional<KVRect> rect;  // where it is on screen now
};

// The texts of `window`, in tree order (a view's attached texts before those of its subviews).
std::vector<KVInventoryEntry> kv_windowInventory(const std::shared_ptr<KVHostView>& window);

// What the lookup answers for `string`'s key and plural form now: the shown language's store,
// then what the app's catalogues answered, then the development language's store.
std::shared_ptr<const KVString> kv_currentString(const KVString& string);
// The review status of `key` in the shown language.
KVTextStatus kv_currentStatus(const std::string& key);

}  // namespace kolvane
