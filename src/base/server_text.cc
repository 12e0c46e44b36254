#include "base/server_text.h"

#include "base/utf.h"

namespace kolvane {
namespace {

constexpr char16_t kFirstStrongIsolate = u'\u2068';
constexpr char16_t kPopDirectionalIsolate = u'\u2069';
constexpr char16_t kReplacement = u'\uFFFD';

bool isExplicitDirection(char16_t c) {
  return (c >= u'\u202A' && c <= u'\u202E') || (c >= u'\u2066' && c <= u'\u2069');
}

bool isShownControl(char16_t c) {
  if (c == u'\n' || c == u'\t') return false;
  return c < 0x20 || (c >= 0x7F && c <= 0x9F);
}

std::string withThousands(std::size_t value) {
  std::string digits = std::to_string(value);
  for (auto at = static_cast<std::ptrdiff_t>(digits.size()) - 3; at > 0; at -= 3) {
    digits.insert(static_cast<std::size_t>(at), ",");
  }
  return digits;
}

}  // namespace

std::optional<KVError> kv_oversizedFieldError(const nlohmann::json& object,
                                              std::initializer_list<KVFieldBound> fields,
                                              std::string_view answer) {
  if (!object.is_object()) return std::nullopt;
  for (const KVFieldBound& field : fields) {
    const auto found = object.find(field.name);
    if (found == object.end() || !found->is_string()) continue;
    if (found->get_ref<const std::string&>().size() <= field.maxBytes) continue;
    return KVError{kKVErrorDomainJson, kKVErrorCodeJsonOutOfBounds,
                   std::string(answer) + " was refused: its \"" + field.name +
                       "\" is longer than " + withThousands(field.maxBytes) + " bytes."};
  }
  return std::nullopt;
}

KVError kv_answerOverLimitError(std::string_view answer, std::string_view what, std::size_t limit) {
  return {kKVErrorDomainJson, kKVErrorCodeJsonOutOfBounds,
          std::string(answer) + " was refused: it holds more than " + withThousands(limit) + " " +
              std::string(what) + "."};
}

std::u16string kv_shownServerText(std::string_view utf8) {
  return kv_shownServerText(toUtf16(utf8));
}

std::u16string kv_shownServerText(std::u16string_view text) {
  if (text.empty()) return {};
  std::u16string shown;
  shown.reserve(text.size() + 2);
  shown.push_back(kFirstStrongIsolate);
  for (char16_t c : text) {
    if (isExplicitDirection(c)) continue;
    shown.push_back(isShownControl(c) ? kReplacement : c);
  }
  shown.push_back(kPopDirectionalIsolate);
  return shown;
}

}  // namespace kolvane
