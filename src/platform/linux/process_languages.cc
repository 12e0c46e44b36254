#include "platform/linux/process_languages.h"

#include <cstdlib>
#include <string_view>

namespace kolvane {

std::vector<std::string> processLanguages() {
  std::vector<std::string> languages;
  if (const char* list = std::getenv("LANGUAGE"); list != nullptr) {
    std::string_view rest(list);
    while (!rest.empty()) {
      const std::size_t colon = rest.find(':');
      if (colon != 0) languages.emplace_back(rest.substr(0, colon));
      if (colon == std::string_view::npos) break;
      rest.remove_prefix(colon + 1);
    }
  }
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') {
      languages.emplace_back(value);
      break;
    }
  }
  return languages;
}

std::string languageOfEnvironmentEntry(const std::string& entry) {
  std::string language = entry.substr(0, entry.find('@'));
  language = language.substr(0, language.find('.'));
  return (language == "C" || language == "POSIX") ? std::string() : language;
}

}  // namespace kolvane
