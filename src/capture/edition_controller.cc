#include "capture/edition_controller.h"

#include <algorithm>

#include "capture/capsules.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"

namespace kolvane {
namespace {

// The group of `key` to edit: the edited one when there is one, else the one shown. A copy,
// since what the store published is never written.
std::shared_ptr<KVStringGroup> editableGroup(const KVLocaleStrings& store, const std::string& key) {
  const auto& dirty = store.dirtyStrings();
  if (const auto found = dirty.find(key); found != dirty.end() && found->second) {
    return found->second->copy();
  }
  const auto shown = store.kolvaneStringGroupForKey(key);
  return shown ? shown->copy() : nullptr;
}

// The group holding the new text of one form of `key`, or none when neither store knows the
// key. A string never translated in this locale starts from the development locale's record.
// What a string the shown store lacks starts from: the base store's, else what the app's own
// catalogues answered for it.
std::shared_ptr<const KVString> startingForm(const KVLocaleStrings* base, const std::string& key,
                                             const std::optional<std::string>& plural) {
  if (auto found = base ? base->kolvaneStringForKey(key, plural) : nullptr) return found;
  const auto noted = KVMainController::sharedInstance().appCatalogue().groupForKey(key);
  return noted ? noted->stringForPluralForm(plural, false) : nullptr;
}

std::shared_ptr<KVStringGroup> groupWithNewText(KVLocaleStrings& shown, const KVLocaleStrings* base,
                                                const std::string& key,
                                                const std::optional<std::string>& plural,
                                                const std::u16string& format) {
  std::shared_ptr<KVStringGroup> group;
  std::shared_ptr<KVString> form;
  if (shown.kolvaneStringForKey(key, plural)) {
    group = editableGroup(shown, key);
    if (group) form = group->stringForPluralForm(plural, true);
    // Found by a looser choice than the strict one: edit that form.
    if (group && !form) form = group->stringForPluralForm(plural, false);
  } else if (const auto baseForm = startingForm(base, key, plural)) {
    form = baseForm->copy();
    group = editableGroup(shown, key);
    if (!group) {
      const auto baseGroup = baseForm->group.lock();
      group = baseGroup ? baseGroup->copy() : std::make_shared<KVStringGroup>();
    }
  }
  if (!group || !form) return nullptr;
  form->fromBase = false;
  form->localizedFormat = format;
  form->recalculateHash();
  group->addStringForm(form);
  return group;
}

}  // namespace

std::optional<std::string> kv_pluralArgument(const std::string& pluralFormName) {
  if (pluralFormName.empty()) return std::nullopt;
  return pluralFormName;
}

std::shared_ptr<KVEditionController> KVEditionController::editionControllerWithStrings(
    const KVCaptures& captures) {
  auto controller = std::make_shared<KVEditionController>();
  const auto base = KVMainController::sharedInstance().baseLocaleStrings();
  for (const auto& capture : captures) {
    if (!capture) continue;
    for (const auto& record : capture->kolvaneStringsInString()) {
      Item item;
      item.viewStrings = capture;
      item.targetString = record->group.lock();
      item.sourceString = base ? base->kolvaneStringGroupForKey(record->key) : nullptr;
      if (!item.sourceString) {
        item.sourceString =
            KVMainController::sharedInstance().appCatalogue().sourceGroupForKey(record->key);
      }
      controller->items_.push_back(std::move(item));
    }
  }
  if (controller->items_.empty()) return nullptr;
  return controller;
}

std::size_t KVEditionController::validateStrings() {
  stringsToSave_.clear();
  mismatches_.clear();
  if (!KVMainController::sharedInstance().localeStrings()) return 0;
  for (std::size_t index = 0; index < items_.size(); ++index) {
    const Item& item = items_[index];
    if (!item.targetString) continue;
    for (const auto& [name, typed] : item.edited) {
      const auto source =
          item.sourceString ? item.sourceString->stringForPluralForm(kv_pluralArgument(name), true)
                            : nullptr;
      std::size_t capsules = 0;
      std::u16string format = kv_formatFromEditedText(typed, &capsules);
      if (source && capsules != source->argumentFormatSpecifiers.size()) {
        mismatches_.push_back({index, name});
      }
      stringsToSave_[item.targetString->key][name] = std::move(format);
    }
  }
  return mismatches_.size();
}

void KVEditionController::saveStrings() {
  const KVMainController& controller = KVMainController::sharedInstance();
  const auto shown = controller.localeStrings();
  // Without a shown locale there is nothing to write and nothing is refreshed.
  if (!shown) return;
  const auto base = controller.baseLocaleStrings();
  for (const Item& item : items_) {
    if (!item.targetString) continue;
    const std::string& key = item.targetString->key;
    const auto typed = stringsToSave_.find(key);
    if (typed == stringsToSave_.end()) continue;
    for (const auto& [name, format] : typed->second) {
      if (auto group = groupWithNewText(*shown, base.get(), key, kv_pluralArgument(name), format)) {
        shown->setDirtyGroup(key, std::move(group));
      }
    }
  }
  shown->saveDirty();
  updateViewStringsFromFile();
}

std::vector<std::shared_ptr<KVViewStrings>> KVEditionController::distinctCaptures() const {
  std::vector<std::shared_ptr<KVViewStrings>> captures;
  for (const Item& item : items_) {
    if (item.viewStrings &&
        std::find(captures.begin(), captures.end(), item.viewStrings) == captures.end()) {
      captures.push_back(item.viewStrings);
    }
  }
  return captures;
}

void KVEditionController::updateViewStringsFromFile() const {
  for (const auto& capture : distinctCaptures()) capture->updateView();
}

}  // namespace kolvane
