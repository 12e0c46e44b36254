#include "strings/string_record.h"

#include "kolvane/platform.h"
#include "strings/cues.h"
#include "strings/utf.h"

namespace kolvane {

void KVString::extractFormatFromString(std::u16string_view markedText) {
  std::vector<std::u16string> specifiers;
  localizedFormat = kv_enumerateCuesUsingBlock(markedText, [&](std::u16string_view specifier) {
    specifiers.emplace_back(specifier);
    return std::optional<std::u16string>(specifier);
  });
  if (!specifiers.empty() && !dynamic) {
    dynamic = true;
    argumentFormatSpecifiers = std::move(specifiers);
  }
  recalculateHash();
}

void KVString::recalculateHash() {
  const TextServices& text = Platform::current().textServices();
  if (!dynamic) {
    localizedHash = text.lowercase(localizedFormat);
    return;
  }
  const std::u16string emptied = kv_enumerateCuesUsingBlock(
      localizedFormat, [](std::u16string_view) { return std::optional<std::u16string>(); });
  localizedHash = text.lowercase(emptied);
}

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
