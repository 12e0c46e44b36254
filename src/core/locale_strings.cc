#include "core/locale_strings.h"

#include "core/main_controller.h"

namespace kolvane {
namespace {

std::shared_ptr<KVStringGroup> groupIn(const std::shared_ptr<const KVStringGroups>& groups,
                                       std::string_view key) {
  if (!groups) return nullptr;
  const auto found = groups->find(key);
  return found != groups->end() ? found->second : nullptr;
}

}  // namespace

std::shared_ptr<KVLocaleStrings> KVLocaleStrings::localeStringsForLocale(const Locale& locale) {
  return std::make_shared<KVLocaleStrings>(locale);
}

void KVLocaleStrings::setLoadedStrings(KVStringGroups groups) {
  loadedStrings_.store(std::make_shared<const KVStringGroups>(std::move(groups)));
}

void KVLocaleStrings::setDirtyStrings(KVStringGroups groups) {
  dirtyStrings_.store(std::make_shared<const KVStringGroups>(std::move(groups)));
}

std::shared_ptr<KVStringGroup> KVLocaleStrings::kolvaneStringGroupForKey(
    std::string_view key) const {
  if (KVMainController::sharedInstance().editionEnabled()) {
    if (auto edited = groupIn(dirtyStrings(), key)) return edited;
  }
  return groupIn(loadedStrings(), key);
}

std::shared_ptr<KVString> KVLocaleStrings::kolvaneStringForKey(
    std::string_view key, const std::optional<std::string>& plural) const {
  const auto group = kolvaneStringGroupForKey(key);
  return group ? group->stringForPluralForm(plural, false) : nullptr;
}

std::optional<std::u16string> KVLocaleStrings::localizedStringForKey(std::string_view key) const {
  return localizedStringForKey(key, std::nullopt);
}

std::optional<std::u16string> KVLocaleStrings::localizedStringForKey(
    std::string_view key, const std::optional<std::string>& plural) const {
  const auto string = kolvaneStringForKey(key, plural);
  if (!string) return std::nullopt;
  return string->localizedFormat;
}

std::shared_ptr<KVString> KVLocaleStrings::findLocalizedString(std::u16string_view hash,
                                                               const KVStringGroups& groups) {
  for (const auto& [key, group] : groups) {
    for (const auto& [name, form] : group->pluralForms) {
      if (form->localizedHash == hash) return form;
    }
  }
  return nullptr;
}

std::shared_ptr<KVString> KVLocaleStrings::kolvaneStringForLocalizedString(
    std::u16string_view hash) const {
  if (const auto dirty = dirtyStrings()) {
    if (auto found = findLocalizedString(hash, *dirty)) return found;
  }
  const auto loaded = loadedStrings();
  return loaded ? findLocalizedString(hash, *loaded) : nullptr;
}

}  // namespace kolvane
