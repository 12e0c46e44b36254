#include "tool-ui/window_texts_list.h"

#include <algorithm>

#include "base/utf.h"
#include "capture/edition_view_controller.h"
#include "capture/tool_host.h"
#include "core/main_controller.h"

namespace kolvane {
namespace {

std::u16string counted(std::size_t count, std::u16string_view what) {
  return toUtf16(std::to_string(count)) + u" " + std::u16string(what);
}

}  // namespace

KVWindowTextsList::KVWindowTextsList(std::shared_ptr<KVHostView> window)
    : window_(std::move(window)) {
  reload();
}

std::shared_ptr<KVWindowTextsList> KVWindowTextsList::show() {
  const auto host = kv_toolHost();
  if (!host) return nullptr;
  auto list = std::make_shared<KVWindowTextsList>(host->keyWindow());
  host->presentWindowTexts(list);
  return list;
}

void KVWindowTextsList::reload() {
  entries_ = kv_windowInventory(window_);
  changed();
}

bool KVWindowTextsList::passes(const KVWindowTextRow& row) const {
  if (filter_.problems != 0 && (row.problems & filter_.problems) == 0) return false;
  if (!filter_.status) return true;
  return std::any_of(row.strings.begin(), row.strings.end(),
                     [this](const auto& string) { return string.status == *filter_.status; });
}

std::vector<KVWindowTextRow> KVWindowTextsList::rows() const {
  std::vector<KVWindowTextRow> rows;
  for (const KVInventoryEntry& entry : entries_) {
    if (passes(entry.row)) rows.push_back(entry.row);
  }
  return rows;
}

void KVWindowTextsList::setFilter(const KVWindowTextFilter& filter) {
  filter_ = filter;
  changed();
}

std::u16string KVWindowTextsList::summaryOf(const std::vector<KVInventoryEntry>& entries) {
  std::u16string summary = counted(entries.size(), entries.size() == 1 ? u"text" : u"texts");
  const std::pair<KVTextProblem, std::u16string_view> kinds[] = {
      {kKVTextNotTranslatable, u"not translatable"},
      {kKVTextStale, u"stale"},
      {kKVTextCutOff, u"cut off"}};
  // Named copies, not a structured binding: clang 14 cannot capture bindings in lambdas.
  for (const auto& kind : kinds) {
    const KVTextProblem problem = kind.first;
    const auto count = std::count_if(entries.begin(), entries.end(), [problem](const auto& entry) {
      return (entry.row.problems & problem) != 0;
    });
    if (count > 0) summary += u", " + counted(static_cast<std::size_t>(count), kind.second);
  }
  return summary;
}

std::u16string KVWindowTextsList::summary() const { return summaryOf(entries_); }

const KVInventoryEntry* KVWindowTextsList::filtered(std::size_t row) const {
  for (const KVInventoryEntry& entry : entries_) {
    if (!passes(entry.row)) continue;
    if (row == 0) return &entry;
    --row;
  }
  return nullptr;
}

void KVWindowTextsList::selectRow(std::size_t row) {
  const KVInventoryEntry* entry = filtered(row);
  const auto host = kv_toolHost();
  if (entry == nullptr || !host) return;
  if (entry->rect) host->flashPlace(*entry->rect);
  if (entry->capture->kolvaneStrings().empty() ||
      !KVMainController::sharedInstance().editionEnabled()) {
    return;
  }
  // The edition screen of a long press on the text: its strings, the label as the touched view.
  KVEditionViewController::presentEditionViewWithStringsAndViews({entry->capture},
                                                                 entry->capture->view);
}

}  // namespace kolvane
