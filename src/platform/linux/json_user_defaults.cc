#include "platform/linux/json_user_defaults.h"

#include <cstdio>

#include "base/bounded_json.h"
#include "platform/linux/posix_file_system.h"

namespace kolvane {

JsonUserDefaults::~JsonUserDefaults() { synchronize(); }

void JsonUserDefaults::loadIfNeeded() const {
  if (loaded_) return;
  loaded_ = true;
  const auto bytes = readWholeFile(path_);
  if (!bytes) return;
  nlohmann::json parsed = parseBoundedJson(*bytes);
  if (parsed.is_object()) {
    values_ = std::move(parsed);
  } else {
    setAsideDamagedFile(path_);
  }
}

std::optional<nlohmann::json> JsonUserDefaults::objectForKey(std::string_view key) const {
  std::lock_guard lock(mutex_);
  loadIfNeeded();
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return *found;
}

void JsonUserDefaults::setObject(std::string_view key, nlohmann::json value) {
  std::lock_guard lock(mutex_);
  loadIfNeeded();
  values_[std::string(key)] = std::move(value);
  changed_ = true;
}

void JsonUserDefaults::removeObjectForKey(std::string_view key) {
  std::lock_guard lock(mutex_);
  loadIfNeeded();
  changed_ = values_.erase(std::string(key)) > 0 || changed_;
}

bool JsonUserDefaults::synchronize() {
  std::lock_guard lock(mutex_);
  if (!changed_) return true;
  // Texts from damaged files may hold invalid UTF-8: replace it rather than throw.
  const std::string text =
      values_.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  if (!writeFileAtomically(path_, text)) return false;
  changed_ = false;
  return true;
}

}  // namespace kolvane
