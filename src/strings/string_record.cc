#include "strings/string_record.h"

#include "base/utf.h"
#include "kolvane/platform.h"
#include "strings/cues.h"

namespace kolvane {

void KVString::extractFormatFromString(std::u16string markedText, bool withMatchingKey) {
  std::vector<std::u16string> specifiers;
  const bool allClosed = kv_forEachPlaceholder(markedText, [&](std::u16string_view specifier) {
    if (!specifier.empty()) specifiers.emplace_back(specifier);
  });
  // The format is the text passed through the placeholder enumeration unchanged, which is the
  // text itself unless a placeholder is left open at the end (the enumeration closes it).
  localizedFormat = allClosed ? std::move(markedText)
                              : kv_enumerateCuesUsingBlock(markedText, [](std::u16string_view s) {
                                  return std::optional<std::u16string>(s);
                                });
  // A text read piece by piece holds spare room; a store keeps thousands of them.
  localizedFormat.shrink_to_fit();
  if (!specifiers.empty() && !dynamic) {
    dynamic = true;
    argumentFormatSpecifiers = std::move(specifiers);
  }
  if (withMatchingKey) recalculateHash();
}

std::u16string kv_matchingKey(std::u16string_view format, bool dynamic) {
  const TextServices& text = Platform::current().textServices();
  if (!dynamic) return text.lowercase(std::u16string(format));
  return text.lowercase(kv_enumerateCuesUsingBlock(
      format, [](std::u16string_view) { return std::optional<std::u16string>(); }));
}

void KVString::recalculateHash() { localizedHash = kv_matchingKey(localizedFormat, dynamic); }

std::shared_ptr<KVString> KVString::copy() const {
  auto copied = std::make_shared<KVString>(*this);
  copied->group.reset();
  return copied;
}

std::string KVString::description() const {
  std::string text = "<KVString (" + key + ") " + toUtf8(kv_stringShowingCues(localizedFormat));
  if (pluralForm) text += " (" + *pluralForm + ")";
  return text + ">";
}

}  // namespace kolvane
