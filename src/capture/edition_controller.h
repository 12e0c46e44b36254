// KVEditionController: the model of one edition, the strings found under a press with what the
// reviewer typed for them; checks the typed texts against their sources (placeholder count),
// writes them into the shown locale's store and refreshes the views that show them. Main
// thread.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "capture/view_capture.h"
#include "kolvane/attributed_text.h"
#include "strings/string_group.h"

namespace kolvane {

class KVEditionController {
 public:
  struct Item {
    std::shared_ptr<KVViewStrings> viewStrings;
    // The string in the shown locale, and the same key in the development locale.
    std::shared_ptr<const KVStringGroup> targetString;
    std::shared_ptr<const KVStringGroup> sourceString;
    // What the reviewer typed, by plural-form name ("" for a string without forms).
    std::map<std::string, KVAttributedText> edited;
  };
  // Plural-form name to format, by key.
  using StringsToSave = std::map<std::string, std::map<std::string, std::u16string>>;
  // A typed text whose capsules do not match its source: the item and the plural-form name.
  struct Mismatch {
    std::size_t item = 0;
    std::string pluralForm;
  };

  // Traces each capture now; one item per record found. None when nothing was found.
  static std::shared_ptr<KVEditionController> editionControllerWithStrings(
      const KVCaptures& captures);

  std::vector<Item>& items() { return items_; }
  const std::vector<Item>& items() const { return items_; }

  // The number of typed texts whose capsules do not match their source's placeholders in
  // number; fills stringsToSave with every typed text, matching or not, and mismatches with
  // the ones that do not match, in item order.
  std::size_t validateStrings();
  const StringsToSave& stringsToSave() const { return stringsToSave_; }
  const std::vector<Mismatch>& mismatches() const { return mismatches_; }
  // Writes stringsToSave into the shown locale's store, saves it, and refreshes each view of
  // this edition once.
  void saveStrings();
  // Refreshes each view of this edition once from the stores as they are.
  void updateViewStringsFromFile() const;

  std::shared_ptr<KVHostView> touchedView;

 private:
  std::vector<std::shared_ptr<KVViewStrings>> distinctCaptures() const;

  std::vector<Item> items_;
  StringsToSave stringsToSave_;
  std::vector<Mismatch> mismatches_;
};

// "" stands for a string without plural forms.
std::optional<std::string> kv_pluralArgument(const std::string& pluralFormName);

}  // namespace kolvane
