// Any UTF-16 text through the cue operations: marking, finding marked strings, enumerating
// placeholders and making records. Nothing may read out of bounds, and marking a text without
// cue characters then removing the cues gives the text back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "strings/cues.h"
#include "strings/string_record.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kolvane;
  std::u16string text;
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    text += static_cast<char16_t>(data[i] | (data[i + 1] << 8));
  }
  for (const KVEditionItem& item : kv_localizedStringsInString(text)) {
    if (item.range.location + item.range.length > text.size()) std::abort();
  }
  const std::u16string marked = kv_stringWithCues(text);
  const bool hasCues = kv_stringByRemovingCues(text) != text;
  if (!hasCues && kv_stringByRemovingCues(marked) != text) std::abort();
  kv_enumerateCuesUsingBlock(
      text, [](std::u16string_view s) { return std::optional<std::u16string>(s); });
  KVString string;
  string.extractFormatFromString(marked);
  return 0;
}
