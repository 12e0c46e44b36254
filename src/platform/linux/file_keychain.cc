#include "platform/linux/file_keychain.h"

#include <glib.h>

#include "base/bounded_json.h"
#include "platform/linux/posix_file_system.h"

namespace kolvane {
namespace {

// A field of a stored item; a damaged item (a field of another type) reads as empty.
std::string field(const nlohmann::json& item, const char* name) {
  const auto found = item.find(name);
  return found != item.end() && found->is_string() ? found->get<std::string>() : std::string();
}

bool matches(const nlohmann::json& item, const KeychainQuery& query) {
  return item.is_object() && field(item, "service") == query.service &&
         field(item, "account") == query.account &&
         (!query.accessGroup || field(item, "accessGroup") == *query.accessGroup);
}

std::string encodeData(std::string_view data) {
  gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(data.data()), data.size());
  std::string text(encoded);
  g_free(encoded);
  return text;
}

std::string decodeData(const std::string& text) {
  gsize length = 0;
  guchar* decoded = g_base64_decode(text.c_str(), &length);
  std::string data(reinterpret_cast<const char*>(decoded), length);
  g_free(decoded);
  return data;
}

}  // namespace

FileKeychain::FileKeychain(std::string path, std::string defaultAccessGroup)
    : path_(std::move(path)), defaultAccessGroup_(std::move(defaultAccessGroup)) {}

std::optional<nlohmann::json> FileKeychain::readItems() const {
  const auto text = readWholeFile(path_);
  if (!text) return nlohmann::json::array();  // no file yet: an empty keychain
  auto items = parseBoundedJson(*text);
  if (items.is_array()) return items;
  // A damaged file would refuse every later login: set it aside and start an empty keychain.
  if (!setAsideDamagedFile(path_)) return std::nullopt;
  return nlohmann::json::array();
}

bool FileKeychain::writeItems(const nlohmann::json& items) const {
  // The temporary file the atomic write renames into place is created with mode 0600.
  return writeFileAtomically(path_, items.dump());
}

KeychainStatus FileKeychain::add(const KeychainQuery& query, std::string_view data) {
  auto items = readItems();
  if (!items) return KeychainStatus::failure;
  for (const auto& item : *items) {
    if (matches(item, query)) return KeychainStatus::failure;
  }
  items->push_back({{"service", query.service},
                    {"account", query.account},
                    {"accessGroup", query.accessGroup.value_or(defaultAccessGroup_)},
                    {"data", encodeData(data)}});
  return writeItems(*items) ? KeychainStatus::success : KeychainStatus::failure;
}

KeychainStatus FileKeychain::copyMatching(const KeychainQuery& query, KeychainItem* item) {
  const auto items = readItems();
  if (!items) return KeychainStatus::failure;
  for (const auto& stored : *items) {
    if (!matches(stored, query)) continue;
    if (item != nullptr) {
      item->data = decodeData(field(stored, "data"));
      item->accessGroup = field(stored, "accessGroup");
    }
    return KeychainStatus::success;
  }
  return KeychainStatus::itemNotFound;
}

KeychainStatus FileKeychain::remove(const KeychainQuery& query) {
  auto items = readItems();
  if (!items) return KeychainStatus::failure;
  auto kept = nlohmann::json::array();
  for (auto& item : *items) {
    if (!matches(item, query)) kept.push_back(std::move(item));
  }
  if (kept.size() == items->size()) return KeychainStatus::itemNotFound;
  return writeItems(kept) ? KeychainStatus::success : KeychainStatus::failure;
}

}  // namespace kolvane
