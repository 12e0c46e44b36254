#include "platform/linux/directory_bundle.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "base/plain_name.h"
#include "base/utf.h"
#include "platform/linux/posix_file_system.h"
#include "platform/linux/process_languages.h"
#include "platform/linux/property_list.h"

namespace kolvane {
namespace {

constexpr std::string_view kLprojSuffix = ".lproj";

std::vector<std::string> localizationsIn(const std::string& path) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(path, error)) {
    const std::string name = entry.path().filename().string();
    if (name.size() > kLprojSuffix.size() && name.ends_with(kLprojSuffix)) {
      names.push_back(name.substr(0, name.size() - kLprojSuffix.size()));
    }
  }
  return names;
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string regularFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error) ? path : std::string();
}

}  // namespace

std::string bestLocalization(const std::vector<std::string>& available,
                             const std::vector<std::string>& wanted, const std::string& fallback) {
  for (const std::string& entry : wanted) {
    const std::string language = languageOfEnvironmentEntry(entry);
    if (language.empty()) continue;
    std::string hyphenated = language;
    std::replace(hyphenated.begin(), hyphenated.end(), '_', '-');
    const std::string bare = language.substr(0, language.find('_'));
    for (const std::string& candidate : {language, hyphenated, bare}) {
      if (contains(available, candidate)) return candidate;
    }
  }
  return contains(available, fallback) ? fallback : std::string();
}

DirectoryBundle::DirectoryBundle(std::string path, std::map<std::string, std::string> defaultInfo)
    : path_(std::move(path)), info_(std::move(defaultInfo)) {
  if (const auto bytes = readWholeFile(path_ + "/Info.plist")) {
    for (auto& [key, value] :
         readPropertyListStrings(*bytes).value_or(std::map<std::string, std::string>())) {
      info_[key] = std::move(value);
    }
  }
  const std::string development = infoString("CFBundleDevelopmentRegion").value_or("en");
  preferred_ = bestLocalization(localizationsIn(path_), processLanguages(), development);
}

std::optional<std::string> DirectoryBundle::infoString(std::string_view key) const {
  const auto found = info_.find(std::string(key));
  if (found == info_.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> DirectoryBundle::pathForResource(std::string_view name,
                                                            std::string_view type,
                                                            std::string_view localization) const {
  std::string file(name);
  if (!type.empty()) {
    file += '.';
    file += type;
  }
  if (file.empty() || file.find('/') != std::string::npos) return std::nullopt;
  const auto inLocalization = [&](std::string_view lproj) {
    return lproj.empty() ? std::string()
                         : regularFile(path_ + "/" + std::string(lproj) + ".lproj/" + file);
  };
  if (!localization.empty()) {
    std::string found = inLocalization(localization);
    return found.empty() ? std::nullopt : std::optional(found);
  }
  for (std::string found : {regularFile(path_ + "/" + file), inLocalization(preferred_)}) {
    if (!found.empty()) return found;
  }
  return std::nullopt;
}

std::string DirectoryBundle::bundleIdentifier() const {
  // It names the app's settings and files folders, so it must be one plain name.
  if (auto identifier = infoString("CFBundleIdentifier"); identifier && isPlainName(*identifier)) {
    return *identifier;
  }
  const std::string folder = std::filesystem::path(path_).filename().string();
  return isPlainName(folder) ? folder : "unnamed-app";
}

std::shared_ptr<const DirectoryBundle::KeyedTable> DirectoryBundle::table(
    const std::string& name) const {
  std::lock_guard lock(mutex_);
  if (const auto cached = tables_.find(name); cached != tables_.end()) return cached->second;
  auto loaded = std::make_shared<KeyedTable>();
  if (const auto path = pathForResource(name, "strings", preferred_)) {
    if (const auto bytes = readWholeFile(*path)) {
      // A damaged table answers like a missing one: the defaults, never a crash.
      StringsFileResult read = readStringsTable(*bytes);
      if (auto* table = std::get_if<StringsTable>(&read)) {
        loaded->reserve(table->size());
        for (auto& [key, text] : *table) loaded->emplace(key, std::move(text));
      }
    }
  }
  tables_[name] = loaded;
  return loaded;
}

std::u16string DirectoryBundle::platformLocalizedStringForKey(std::string_view key,
                                                              std::u16string_view value,
                                                              std::string_view table) const {
  const auto strings = this->table(table.empty() ? "Localizable" : std::string(table));
  if (const auto found = strings->find(key); found != strings->end()) {
    return found->second;
  }
  return value.empty() ? toUtf16(key) : std::u16string(value);
}

}  // namespace kolvane
