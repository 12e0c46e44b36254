// KVKeychain: single values by key in the platform's secure store. Each value is one item whose
// service and account are both the key, holding the value in a keyed archive. Failures are
// not reported beyond the result: a failed save leaves no item, a failed load gives none.
// Main thread only.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "kolvane/platform.h"

namespace kolvane {

class KVKeychain {
 public:
  // Deletes any item for the key, then adds the new one; true when the add succeeded.
  static bool saveValue(const nlohmann::json& value, std::string_view key,
                        const std::optional<std::string>& accessGroup = std::nullopt);
  // None when there is no item or its data is not an archived value.
  static std::optional<nlohmann::json> loadValueForKey(
      std::string_view key, const std::optional<std::string>& accessGroup = std::nullopt);
  static bool deleteValueForKey(std::string_view key,
                                const std::optional<std::string>& accessGroup = std::nullopt);

  static KeychainQuery getKeychainQuery(std::string_view key,
                                        const std::optional<std::string>& accessGroup);
  // The group with the bundle seed in front ("seed.group"), unless it already holds the seed.
  static std::string getFullAppleIdentifier(std::string_view accessGroup);
  // The first "."-separated part of the access group the store gives its items, read from a
  // marker item (added when missing). Cached once found.
  static std::string getBundleSeedIdentifier();
  static void resetForTesting();
};

}  // namespace kolvane
