// Any bytes as a Qt Linguist catalogue: the reader must refuse or read them, never crash, and
// what it read must write out and read back the same.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <tuple>

#include "strings/linguist_catalogue.h"

namespace {

using namespace kolvane;

// The messages as a writer keeps them: grouped by context, a message with no translation as
// one with an empty one.
std::vector<KVLinguistMessage> normalised(std::vector<KVLinguistMessage> messages) {
  for (auto& message : messages) {
    if (!message.numerus && message.translations.empty()) message.translations.emplace_back();
  }
  std::stable_sort(messages.begin(), messages.end(),
                   [](const auto& a, const auto& b) { return a.context < b.context; });
  return messages;
}

bool same(const KVLinguistMessage& a, const KVLinguistMessage& b) {
  return std::tie(a.context, a.source, a.comment, a.numerus, a.type, a.translations) ==
         std::tie(b.context, b.source, b.comment, b.numerus, b.type, b.translations);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto file = kv_readLinguist(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!file) return 0;
  const auto again = kv_readLinguist(kv_writeLinguist(*file));
  if (!again || again->language != file->language ||
      again->sourceLanguage != file->sourceLanguage) {
    std::abort();
  }
  const auto before = normalised(file->messages);
  const auto after = normalised(again->messages);
  if (!std::equal(before.begin(), before.end(), after.begin(), after.end(), same)) std::abort();
  return 0;
}
