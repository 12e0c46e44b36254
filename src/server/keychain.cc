#include "server/keychain.h"

#include "base/keyed_archive.h"

namespace kolvane {
namespace {

constexpr std::string_view kArchiveClass = "KVKeychainValue";
constexpr std::string_view kArchiveKey = "value";

// Filled once on the main thread.
std::optional<std::string>& cachedSeed() {
  static std::optional<std::string> seed;
  return seed;
}

}  // namespace

KeychainQuery KVKeychain::getKeychainQuery(std::string_view key,
                                           const std::optional<std::string>& accessGroup) {
  KeychainQuery query{std::string(key), std::string(key), std::nullopt};
  if (accessGroup) query.accessGroup = getFullAppleIdentifier(*accessGroup);
  return query;
}

bool KVKeychain::saveValue(const nlohmann::json& value, std::string_view key,
                           const std::optional<std::string>& accessGroup) {
  const KeychainQuery query = getKeychainQuery(key, accessGroup);
  Keychain& keychain = Platform::current().keychain();
  // Adding replaces nothing, so the old item goes first; none there is the usual answer.
  [[maybe_unused]] const KeychainStatus removed = keychain.remove(query);
  KeyedArchiver archiver(kArchiveClass);
  archiver.encode(kArchiveKey, value);
  return keychain.add(query, archiver.archivedData()) == KeychainStatus::success;
}

std::optional<nlohmann::json> KVKeychain::loadValueForKey(
    std::string_view key, const std::optional<std::string>& accessGroup) {
  KeychainItem item;
  if (Platform::current().keychain().copyMatching(getKeychainQuery(key, accessGroup), &item) !=
      KeychainStatus::success) {
    return std::nullopt;
  }
  const auto unarchiver = KeyedUnarchiver::forData(item.data, kArchiveClass);
  if (!unarchiver) return std::nullopt;
  nlohmann::json value = unarchiver->decodeObject(kArchiveKey);
  if (value.is_null()) return std::nullopt;
  return value;
}

bool KVKeychain::deleteValueForKey(std::string_view key,
                                   const std::optional<std::string>& accessGroup) {
  return Platform::current().keychain().remove(getKeychainQuery(key, accessGroup)) ==
         KeychainStatus::success;
}

std::string KVKeychain::getFullAppleIdentifier(std::string_view accessGroup) {
  const std::string seed = getBundleSeedIdentifier();
  if (accessGroup.find(seed) != std::string_view::npos) return std::string(accessGroup);
  return seed + "." + std::string(accessGroup);
}

std::string KVKeychain::getBundleSeedIdentifier() {
  if (cachedSeed()) return *cachedSeed();
  const KeychainQuery marker{"", "bundleSeedID", std::nullopt};
  Keychain& keychain = Platform::current().keychain();
  KeychainItem item;
  KeychainStatus status = keychain.copyMatching(marker, &item);
  if (status == KeychainStatus::itemNotFound &&
      keychain.add(marker, "") == KeychainStatus::success) {
    status = keychain.copyMatching(marker, &item);
  }
  if (status != KeychainStatus::success) return std::string();
  cachedSeed() = item.accessGroup.substr(0, item.accessGroup.find('.'));
  return *cachedSeed();
}

void KVKeychain::resetForTesting() { cachedSeed().reset(); }

}  // namespace kolvane
