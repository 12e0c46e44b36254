#include "core/locale_identifiers.h"

#include <algorithm>
#include <array>
#include <utility>

#include "kolvane/platform.h"

namespace kolvane {
namespace {

// Server ids the server spells its own way, with the platform identifier of each.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kSpecialIds = {{
    {"jm-JM", "en_JM"},
    {"me-ME", "sr_Latn_ME"},
    {"xc-MN", "mn_Cyrl_MN"},
}};

bool isIdentifierCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '_';
}

std::string replaced(std::string_view text, char from, char to) {
  std::string out(text);
  std::replace(out.begin(), out.end(), from, to);
  return out;
}

}  // namespace

std::optional<Locale> localeFromKolvanIdentifier(std::string_view serverId) {
  for (const auto& [server, platform] : kSpecialIds) {
    if (serverId == server) return Locale(std::string(platform));
  }
  if (serverId.empty() || !std::all_of(serverId.begin(), serverId.end(), isIdentifierCharacter)) {
    return std::nullopt;
  }
  return Locale(replaced(serverId, '-', '_'));
}

std::string kolvaneLocaleIdentifier(const Locale& locale) {
  const std::string& identifier = locale.localeIdentifier();
  for (const auto& [server, platform] : kSpecialIds) {
    if (identifier == platform) return std::string(server);
  }
  return replaced(identifier, '_', '-');
}

std::string kv_localizedLanguageName(const Locale& locale) {
  const TextServices& text = Platform::current().textServices();
  const auto language = text.languageDisplayName(locale.languageCode());
  if (!language) return locale.localeIdentifier();
  const auto region = text.countryDisplayName(locale.countryCode());
  return *language + " (" + region.value_or("International") + ")";
}

}  // namespace kolvane
