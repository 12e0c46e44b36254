#include "base/keyed_archive.h"

#include "base/bounded_json.h"

namespace kolvane {
namespace {

constexpr const char* kClassKey = "$class";

}  // namespace

KeyedArchiver::KeyedArchiver(std::string_view className)
    : root_(nlohmann::json::object({{kClassKey, std::string(className)}})) {}

void KeyedArchiver::encode(std::string_view key, nlohmann::json value) {
  root_[std::string(key)] = std::move(value);
}

std::string KeyedArchiver::archivedData() const {
  // Texts from the server may hold invalid UTF-8: replace it rather than throw.
  return root_.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::optional<KeyedUnarchiver> KeyedUnarchiver::forData(std::string_view data,
                                                        std::string_view className) {
  nlohmann::json root = parseBoundedJson(data);
  if (!root.is_object()) return std::nullopt;
  const auto tag = root.find(kClassKey);
  if (tag == root.end() || !tag->is_string() || tag->get_ref<const std::string&>() != className) {
    return std::nullopt;
  }
  return KeyedUnarchiver(std::move(root));
}

std::string KeyedUnarchiver::decodeString(std::string_view key) const {
  const auto value = root_.find(key);
  return (value != root_.end() && value->is_string()) ? value->get<std::string>() : std::string();
}

bool KeyedUnarchiver::decodeBool(std::string_view key) const {
  const auto value = root_.find(key);
  return value != root_.end() && value->is_boolean() && value->get<bool>();
}

nlohmann::json KeyedUnarchiver::decodeObject(std::string_view key) const {
  const auto value = root_.find(key);
  return value != root_.end() ? *value : nlohmann::json();
}

}  // namespace kolvane
