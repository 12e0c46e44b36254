// Keyed archiving: a record's values under named keys, with a class tag, stored as JSON text.
// Reading never throws: damaged or foreign data reads as nothing.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace kolvane {

class KeyedArchiver {
 public:
  explicit KeyedArchiver(std::string_view className);
  void encode(std::string_view key, nlohmann::json value);
  // The archive's bytes.
  std::string archivedData() const;

 private:
  nlohmann::json root_;
};

class KeyedUnarchiver {
 public:
  // None when `data` is not an archive of `className`.
  static std::optional<KeyedUnarchiver> forData(std::string_view data, std::string_view className);

  // A value of the wrong type reads as absent (or false, or an empty text).
  std::string decodeString(std::string_view key) const;
  bool decodeBool(std::string_view key) const;
  nlohmann::json decodeObject(std::string_view key) const;

 private:
  explicit KeyedUnarchiver(nlohmann::json root) : root_(std::move(root)) {}
  nlohmann::json root_;
};

}  // namespace kolvane
