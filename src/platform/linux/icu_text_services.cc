#include "platform/linux/icu_text_services.h"

#include <unicode/udat.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <limits>

#include "base/utf.h"
#include "platform/linux/process_languages.h"

namespace kolvane {
namespace {

constexpr int32_t kCodeCapacity = ULOC_FULLNAME_CAPACITY;

// ICU reads identifiers as C strings of bounded length: anything longer or holding a NUL is
// not a locale it could know.
bool usableIdentifier(std::string_view identifier) {
  return !identifier.empty() && identifier.size() < ULOC_FULLNAME_CAPACITY &&
         identifier.find('\0') == std::string_view::npos;
}

template <typename Getter>
std::string localePart(std::string_view identifier, Getter getter) {
  if (!usableIdentifier(identifier)) return {};
  char buffer[kCodeCapacity] = {};
  UErrorCode status = U_ZERO_ERROR;
  const std::string id(identifier);
  const int32_t length = getter(id.c_str(), buffer, kCodeCapacity, &status);
  if (U_FAILURE(status) || length <= 0 || length >= kCodeCapacity) return {};
  return std::string(buffer, static_cast<std::size_t>(length));
}

// ICU answers an unknown code with the code itself; that counts as no name.
template <typename Getter>
std::optional<std::string> displayName(const std::string& localeId, std::string_view code,
                                       Getter getter) {
  if (code.empty() || !usableIdentifier(localeId)) return std::nullopt;
  UChar buffer[256] = {};
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = getter(localeId.c_str(), uloc_getDefault(), buffer, 256, &status);
  if (U_FAILURE(status) || length <= 0 || length >= 256) return std::nullopt;
  std::string name = toUtf8(std::u16string_view(buffer, static_cast<std::size_t>(length)));
  if (name == code) return std::nullopt;
  return name;
}

}  // namespace

namespace {

using IcuCaseMapping = int32_t (*)(UChar*, int32_t, const UChar*, int32_t, const char*,
                                   UErrorCode*);

std::u16string mappedCase(std::u16string text, bool upper) {
  // Most texts are ASCII and cue characters (General Punctuation, which has no cased letters),
  // where the mapping is A-Z to a-z alone; ICU is for the rest.
  const auto caseless = [](char16_t c) { return c < 0x80 || (c >= 0x2000 && c <= 0x206F); };
  if (std::all_of(text.begin(), text.end(), caseless)) {
    const char16_t from = upper ? u'a' : u'A';
    for (char16_t& c : text) {
      if (c >= from && c <= from + 25)
        c = static_cast<char16_t>(c + (u'a' - u'A') * (upper ? -1 : 1));
    }
    return text;
  }
  if (text.empty() ||
      text.size() > static_cast<std::size_t>(std::numeric_limits<int32_t>::max() / 2)) {
    return text;
  }
  const IcuCaseMapping mapping = upper ? u_strToUpper : u_strToLower;
  const auto length = static_cast<int32_t>(text.size());
  // A mapping may lengthen a text (U+0130 lowered, ß raised): retry with ICU's size.
  std::u16string mapped(text.size(), u'\0');
  UErrorCode status = U_ZERO_ERROR;
  int32_t needed = mapping(mapped.data(), length, text.data(), length, "", &status);
  if (status == U_BUFFER_OVERFLOW_ERROR) {
    mapped.assign(static_cast<std::size_t>(needed), u'\0');
    status = U_ZERO_ERROR;
    needed = mapping(mapped.data(), needed, text.data(), length, "", &status);
  }
  if (U_FAILURE(status)) return text;
  mapped.resize(static_cast<std::size_t>(needed));
  return mapped;
}

}  // namespace

std::u16string IcuTextServices::lowercase(std::u16string text) const {
  return mappedCase(std::move(text), false);
}

std::u16string IcuTextServices::uppercase(std::u16string text) const {
  return mappedCase(std::move(text), true);
}

std::string IcuTextServices::currentLocaleIdentifier() const { return uloc_getDefault(); }

std::u16string IcuTextServices::shortDateTime(double secondsSince1970) const {
  UErrorCode status = U_ZERO_ERROR;
  UDateFormat* format =
      udat_open(UDAT_SHORT, UDAT_SHORT, nullptr, nullptr, -1, nullptr, -1, &status);
  if (U_FAILURE(status)) return TextServices::shortDateTime(secondsSince1970);
  std::u16string text(64, u'\0');
  const int32_t length = udat_format(format, secondsSince1970 * 1000.0, text.data(),
                                     static_cast<int32_t>(text.size()), nullptr, &status);
  udat_close(format);
  if (U_FAILURE(status) || length < 0 || length > static_cast<int32_t>(text.size())) {
    return TextServices::shortDateTime(secondsSince1970);
  }
  text.resize(static_cast<std::size_t>(length));
  return text;
}

std::vector<std::string> IcuTextServices::preferredLanguages() const {
  std::vector<std::string> languages;
  for (const std::string& entry : processLanguages()) {
    const std::string language = languageOfEnvironmentEntry(entry);
    if (!language.empty()) languages.push_back(language);
  }
  return languages;
}

std::string IcuTextServices::languageCode(std::string_view localeIdentifier) const {
  return localePart(localeIdentifier, uloc_getLanguage);
}

std::string IcuTextServices::countryCode(std::string_view localeIdentifier) const {
  return localePart(localeIdentifier, uloc_getCountry);
}

std::optional<std::string> IcuTextServices::languageDisplayName(
    std::string_view languageCode) const {
  return displayName(std::string(languageCode), languageCode, uloc_getDisplayLanguage);
}

std::optional<std::string> IcuTextServices::countryDisplayName(std::string_view countryCode) const {
  return displayName("und_" + std::string(countryCode), countryCode, uloc_getDisplayCountry);
}

}  // namespace kolvane
