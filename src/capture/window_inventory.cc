#include "capture/window_inventory.h"

#include <algorithm>

#include "base/utf.h"
#include "capture/text_problems.h"
#include "capture/view_capture.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "kolvane/cues.h"
#include "strings/string_group.h"

namespace kolvane {
namespace {

constexpr char kPlaceSeparator[] = " > ";

// A place one view further down; a view without a name (a plain container) adds nothing.
std::string joined(const std::string& above, const std::string& name) {
  if (name.empty()) return above;
  return above.empty() ? name : above + kPlaceSeparator + name;
}

bool holdsCues(std::u16string_view text) {
  return std::any_of(text.begin(), text.end(), [](char16_t c) {
    return c == kv_beginCue || c == kv_endCue || c == kv_placeholderBeginCue ||
           c == kv_placeholderEndCue;
  });
}

// Traced to strings, but not to what the lookup answers now; or cues whose text no string
// holds any more.
bool isStale(const KVViewStrings& capture) {
  if (capture.kolvaneStrings().empty()) return true;
  return std::any_of(capture.kolvaneStrings().begin(), capture.kolvaneStrings().end(),
                     [](const auto& string) {
                       const auto current = kv_currentString(*string);
                       return current && current->localizedFormat != string->localizedFormat;
                     });
}

unsigned problemsOf(const KVHostLabel& label, const KVViewStrings& capture,
                    std::u16string_view cued, std::u16string_view shown) {
  // An elided text lost its end cue with its end: it traces to nothing, and is not stale for it.
  if (kv_textWasElided(cued)) return kKVTextCutOff;
  unsigned problems = 0;
  if (!holdsCues(cued)) {
    if (!label.notForTranslation() && !kv_looksLikeData(shown)) problems |= kKVTextNotTranslatable;
  } else if (isStale(capture)) {
    problems |= kKVTextStale;
  }
  const auto box = label.textBox();
  if (box && kv_textOverflowsBox(shown, *box)) problems |= kKVTextCutOff;
  return problems;
}

class Inventory {
 public:
  std::vector<KVInventoryEntry> entries;

  // Places are within the window: it adds no name of its own to them.
  void visitWindow(const std::shared_ptr<KVHostView>& window) {
    if (!path_.enter(*window)) return;
    visitChildren(window, {});
    path_.leave();
  }

  void visit(const std::shared_ptr<KVHostView>& view, const std::string& above) {
    if (!path_.enter(*view)) return;
    visitChildren(view, joined(above, view->pathName()));
    path_.leave();
  }

 private:
  void visitChildren(const std::shared_ptr<KVHostView>& view, const std::string& place) {
    for (const auto& attached : view->attachedTexts()) {
      if (attached) add(attached, joined(place, attached->pathName()));
    }
    const auto* window = dynamic_cast<const KVHostWindow*>(view.get());
    const auto children = window != nullptr ? window->rootControllerViews() : view->subviews();
    for (const auto& child : children) {
      if (child) visit(child, place);
    }
    if (!children.empty()) return;
    if (auto label = std::dynamic_pointer_cast<KVHostLabel>(view)) add(label, place);
  }

  void add(const std::shared_ptr<KVHostLabel>& label, const std::string& place) {
    auto text = label->attributedText();
    if (!text || text->string().empty()) return;
    const std::u16string cued = text->string();
    KVInventoryEntry entry;
    entry.capture = kv_captureOfLabel(label, std::move(*text));
    entry.capture->kolvaneStringsInString();
    entry.row.text = kv_stringByRemovingCues(cued);
    // A text of spaces shows nothing to translate.
    if (std::all_of(entry.row.text.begin(), entry.row.text.end(),
                    [](char16_t c) { return c == u' ' || c == u'\n' || c == u'\t'; })) {
      return;
    }
    for (const KVEditionItem& item : entry.capture->orderedFirstLevelStrings()) {
      if (item.targetString) addString(entry.row, item.targetString->key);
    }
    for (const auto& string : entry.capture->kolvaneStrings()) addString(entry.row, string->key);
    entry.row.place = toUtf16(place);
    entry.rect = label->rectOnScreen();
    entry.row.onScreen = entry.rect.has_value();
    entry.row.problems = problemsOf(*label, *entry.capture, cued, entry.row.text);
    entries.push_back(std::move(entry));
  }

  static void addString(KVWindowTextRow& row, const std::string& key) {
    const bool listed = std::any_of(row.strings.begin(), row.strings.end(),
                                    [&key](const auto& string) { return string.key == key; });
    if (!listed) row.strings.push_back({key, kv_currentStatus(key)});
  }

  KVViewPath path_;
};

}  // namespace

std::u16string kv_textStatusName(KVTextStatus status) {
  switch (status) {
    case KVTextStatus::translated:
      return u"translated";
    case KVTextStatus::accepted:
      return u"accepted";
    case KVTextStatus::rejected:
      return u"rejected";
    case KVTextStatus::edited:
      return u"edited";
    case KVTextStatus::notYetTranslated:
      break;
  }
  return u"not yet translated";
}

std::vector<KVInventoryEntry> kv_windowInventory(const std::shared_ptr<KVHostView>& window) {
  Inventory inventory;
  if (window) inventory.visitWindow(window);
  return std::move(inventory.entries);
}

std::shared_ptr<const KVString> kv_currentString(const KVString& string) {
  KVMainController& controller = KVMainController::sharedInstance();
  if (const auto& shown = controller.localeStrings()) {
    if (auto found = shown->kolvaneStringForKey(string.key, string.pluralForm)) return found;
  }
  if (const auto group = controller.appCatalogue().groupForKey(string.key)) {
    if (auto found = group->stringForPluralForm(string.pluralForm, true)) return found;
  }
  const auto& base = controller.baseLocaleStrings();
  return base ? base->kolvaneStringForKey(string.key, string.pluralForm) : nullptr;
}

KVTextStatus kv_currentStatus(const std::string& key) {
  const auto& shown = KVMainController::sharedInstance().localeStrings();
  if (!shown) return KVTextStatus::notYetTranslated;
  if (shown->dirtyStrings().contains(key)) return KVTextStatus::edited;
  if (shown->acceptedStrings().contains(key)) return KVTextStatus::accepted;
  if (shown->rejectedStrings().contains(key)) return KVTextStatus::rejected;
  const auto loaded = shown->loadedStrings();
  return loaded && loaded->contains(key) ? KVTextStatus::translated
                                         : KVTextStatus::notYetTranslated;
}

}  // namespace kolvane
