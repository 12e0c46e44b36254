// The texts of a window, for the reviewer and the developer: every text the window holds
// (menus, tooltips and pages not shown included), traced to its strings, with the problems
// found in it (not translatable, stale, cut off). kolvane/tool_screens.h lists them
// (KVWindowTextsScreen).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "kolvane/export.h"

namespace kolvane {

// Where a string stands in review, for the language shown.
enum class KVTextStatus {
  translated,        // the shown language's store holds it
  accepted,          // accepted on this device, not sent yet
  rejected,          // rejected on this device, not sent yet
  edited,            // edited on this device, not sent yet
  notYetTranslated,  // the store does not hold it: the app's own catalogue or text answered
};
// "translated", "accepted", "rejected", "edited", "not yet translated".
KOLVANE_EXPORT std::u16string kv_textStatusName(KVTextStatus status);

// What may be wrong with a text; a text may have several.
enum KVTextProblem : unsigned {
  // Shown with no string of the app in it: set in code without a lookup. Data is not counted:
  // numbers, dates, addresses, what the user typed in an editable field, and texts of a widget
  // (or action) whose dynamic property "kolvaneNotTranslatable" is true, or of its ancestors.
  kKVTextNotTranslatable = 1u << 0,
  // Holds strings, but not what Kolvane answers for them now: looked up before a change of
  // language or an edit, and never looked up again.
  kKVTextStale = 1u << 1,
  // Needs more room than its widget gives it (with its font, wrapping and eliding): clipped or
  // elided in this language.
  kKVTextCutOff = 1u << 2,
};

struct KVWindowTextString {
  std::string key;
  KVTextStatus status = KVTextStatus::translated;
};

struct KVWindowTextRow {
  std::u16string text;  // as shown, without cues
  // The strings it was built from, the outermost in text order first, nested ones after.
  std::vector<KVWindowTextString> strings;
  // Where it is in the window: the chain of views down to it ("toolbar > send button > title"),
  // a menu's titles for a menu item ("QMenuBar > File > Open"); "title" for the window's.
  std::u16string place;
  bool onScreen = false;  // shown now, not on a hidden page or in a closed menu
  unsigned problems = 0;  // KVTextProblem bits
};

// Which rows are listed: with this status (any when none) and with one of these problems (any
// row when 0).
struct KVWindowTextFilter {
  std::optional<KVTextStatus> status;
  unsigned problems = 0;
};

}  // namespace kolvane
