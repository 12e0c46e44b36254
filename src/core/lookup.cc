// The lookups: forward by key (the bundle hook and plural strings), and back from a displayed
// cue text to its record. Any thread; they only read the stores.
#include "kolvane/lookup.h"

#include <optional>

#include "base/utf.h"
#include "core/bundle_hook.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "kolvane/platform.h"
#include "strings/cues.h"
#include "strings/message_key.h"
#include "strings/plural_form.h"

namespace kolvane {
namespace {

void logFound(std::string_view key, const std::u16string& text, std::string_view source) {
  if (!debugEnabled()) return;
  kvLog(std::string(key) + ": \"" + toUtf8(text) + "\" (" + std::string(source) + ")");
}

std::u16string withOuterCues(std::u16string_view text) {
  std::u16string whole(text);
  if (whole.empty() || whole.front() != kv_beginCue) whole.insert(whole.begin(), kv_beginCue);
  if (whole.back() != kv_endCue) whole += kv_endCue;
  return whole;
}

std::optional<std::u16string> pluralFrom(const KVLocaleStrings* store, std::string_view key,
                                         const std::optional<Number>& value) {
  if (!store) return std::nullopt;
  return store->localizedStringForKey(key,
                                      KVPluralForm::pluralFormForValue(value, store->locale()));
}

std::optional<std::u16string> storedPlural(const KVMainController& controller, std::string_view key,
                                           const std::optional<Number>& value) {
  LookupGuard guard;
  if (auto found = pluralFrom(controller.publishedLocaleStrings(), key, value)) return found;
  return pluralFrom(controller.publishedBaseLocaleStrings(), key, value);
}

}  // namespace

void KolvaneNoteAppString(std::string_view key, std::string_view source, std::u16string_view text,
                          std::string_view language, const std::optional<Number>& pluralValue) {
  std::optional<std::string> category;
  if (pluralValue)
    category = KVPluralForm::pluralFormForValue(pluralValue, Locale(std::string(language)));
  KVMainController::sharedInstance().appCatalogue().note(key, source, text, category);
}

std::string KolvaneMessageKey(std::string_view source, std::string_view disambiguation) {
  return kv_messageKey(source, disambiguation);
}

std::optional<std::u16string> KolvaneStoredStringForKey(std::string_view key) {
  const KVMainController& controller = KVMainController::sharedInstance();
  LookupGuard guard;
  if (const KVLocaleStrings* store = controller.publishedLocaleStrings()) {
    if (auto found = store->localizedStringForKey(key)) {
      logFound(key, *found, "from current locale strings");
      return found;
    }
  }
  if (const KVLocaleStrings* base = controller.publishedBaseLocaleStrings()) {
    if (auto found = base->localizedStringForKey(key)) {
      logFound(key, *found, "from base");
      return found;
    }
  }
  return std::nullopt;
}

std::u16string KolvaneLocalizedStringForKey(const Bundle& self, std::string_view selector,
                                            std::string_view key, std::u16string_view value,
                                            std::string_view table) {
  if (auto stored = KolvaneStoredStringForKey(key)) return std::move(*stored);
  // Called directly, without the hook installed, there is no stored implementation: the
  // bundle's own lookup is the one to fall back on.
  const Bundle::LocalizedStringImp own = LocalizedStringForKeyIMP.load(std::memory_order_acquire);
  const std::u16string platformText = own != nullptr
                                          ? own(self, selector, key, value, table)
                                          : self.platformLocalizedStringForKey(key, value, table);
  return kv_stringWithCues(platformText);
}

std::shared_ptr<const KVString> KVMainController::kolvaneStringForLocalizedString(
    std::u16string_view text) const {
  const std::u16string hash = Platform::current().textServices().lowercase(withOuterCues(text));
  LookupGuard guard;
  if (const KVLocaleStrings* store = publishedLocaleStrings()) {
    if (auto found = store->kolvaneStringForLocalizedString(hash)) return found;
  }
  if (const KVLocaleStrings* base = publishedBaseLocaleStrings()) {
    if (auto found = base->kolvaneStringForLocalizedString(hash)) return found;
  }
  return appCatalogue_.stringForHash(hash);
}

std::shared_ptr<const KVString> KVMainController::kolvaneStringWithNonNestedString(
    std::u16string_view text, std::optional<std::vector<KVArgumentValue>>* values) const {
  static const std::u16string kEmptiedArgument{kv_beginCue, kv_endCue};
  const bool valuesInUse = values != nullptr && values->has_value();
  std::vector<KVArgumentValue> collected;
  std::size_t next = 0;
  const std::u16string emptied = kv_enumerateCuesUsingBlock(text, [&](std::u16string_view content) {
    if (valuesInUse && content == kEmptiedArgument) {
      if (next >= (*values)->size()) {
        if (debugEnabled()) {
          kvLog("Nested string out of bounds " + toUtf8(kv_stringShowingCues(text)) + " " +
                std::to_string((*values)->size()) + " values");
        }
      } else {
        collected.push_back((**values)[next++]);
      }
    } else {
      collected.emplace_back(std::u16string(content));
    }
    return std::optional<std::u16string>(u"");
  });
  auto found = kolvaneStringForLocalizedString(emptied);
  if (values != nullptr) *values = std::move(collected);
  return found;
}

std::optional<std::u16string> KolvaneStoredPluralStringForKey(std::string_view key,
                                                              const std::optional<Number>& value) {
  return storedPlural(KVMainController::sharedInstance(), key, value);
}

std::u16string KVMainController::pluralizedStringWithKey(std::string_view key,
                                                         const std::optional<Number>& value) const {
  if (auto stored = storedPlural(*this, key, value)) return std::move(*stored);
  return Platform::current().mainBundle().localizedStringForKey(key, u"", "");
}

}  // namespace kolvane
