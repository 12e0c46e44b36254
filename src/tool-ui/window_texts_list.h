// The list of a window's texts (kolvane/window_texts.h): the inventory of the key window,
// filtered, counted, and opened for editing a row at a time. Main thread.
#pragma once

#include <memory>
#include <vector>

#include "capture/window_inventory.h"
#include "kolvane/host_view.h"
#include "kolvane/tool_screens.h"

namespace kolvane {

class KVWindowTextsList final : public KVWindowTextsScreen {
 public:
  explicit KVWindowTextsList(std::shared_ptr<KVHostView> window);
  // The list of the host's key window, shown through the host; none without a host.
  static std::shared_ptr<KVWindowTextsList> show();

  std::u16string title() const override { return u"Texts of this window"; }
  std::vector<KVWindowTextRow> rows() const override;
  KVWindowTextFilter filter() const override { return filter_; }
  void setFilter(const KVWindowTextFilter& filter) override;
  std::u16string summary() const override;
  void selectRow(std::size_t row) override;
  void reload() override;

  // The count under the menu's row, of the same texts.
  static std::u16string summaryOf(const std::vector<KVInventoryEntry>& entries);

 private:
  bool passes(const KVWindowTextRow& row) const;
  const KVInventoryEntry* filtered(std::size_t row) const;

  std::shared_ptr<KVHostView> window_;
  std::vector<KVInventoryEntry> entries_;
  KVWindowTextFilter filter_;
};

}  // namespace kolvane
