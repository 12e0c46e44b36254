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

// The text a store answers for `key` (with `plural`, the plural form for its value), viewed in
// the store: the caller holds a LookupGuard.
std::optional<std::u16string_view> storedText(const KVLocaleStrings* store, std::string_view key,
                                              const std::optional<Number>* plural) {
  if (!store) return std::nullopt;
  if (!plural) return store->localizedTextForKey(key, std::nullopt);
  return store->localizedTextForKey(key,
                                    KVPluralForm::pluralFormForValue(*plural, store->locale()));
}

// The shown locale's store, then the base locale's.
template <typename Use>
bool readStored(std::string_view key, const std::optional<Number>* value, Use use) {
  const KVMainController& controller = KVMainController::sharedInstance();
  LookupGuard guard;
  if (const auto text = storedText(controller.publishedLocaleStrings(), key, value)) {
    use(*text, "from current locale strings");
    return true;
  }
  if (const auto text = storedText(controller.publishedBaseLocaleStrings(), key, value)) {
    use(*text, "from base");
    return true;
  }
  return false;
}

std::optional<std::u16string> copiedStored(std::string_view key,
                                           const std::optional<Number>* value) {
  std::optional<std::u16string> copied;
  readStored(key, value, [&](std::u16string_view text, std::string_view source) {
    copied.emplace(text);
    logFound(key, *copied, source);
  });
  return copied;
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
  return copiedStored(key, nullptr);
}

bool KolvaneReadStoredString(std::string_view key, const std::optional<Number>& pluralValue,
                             KolvaneTextReader read, void* context) {
  return readStored(key, pluralValue ? &pluralValue : nullptr,
                    [&](std::u16string_view text, std::string_view) { read(text, context); });
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
  return copiedStored(key, &value);
}

std::u16string KVMainController::pluralizedStringWithKey(std::string_view key,
                                                         const std::optional<Number>& value) const {
  if (auto stored = KolvaneStoredPluralStringForKey(key, value)) return std::move(*stored);
  return Platform::current().mainBundle().localizedStringForKey(key, u"", "");
}

}  // namespace kolvane
