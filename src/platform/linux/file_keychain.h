// The keychain kept in one JSON file readable by the user alone (mode 0600), replaced whole on
// every change so that a crash never leaves half an item. Used where no Secret Service answers.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "kolvane/platform.h"

namespace kolvane {

class FileKeychain : public Keychain {
 public:
  // Items added without an access group get `defaultAccessGroup`.
  FileKeychain(std::string path, std::string defaultAccessGroup);

  KeychainStatus add(const KeychainQuery& query, std::string_view data) override;
  KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) override;
  KeychainStatus remove(const KeychainQuery& query) override;

 private:
  // The stored items. A file that is not a keychain is set aside as ".damaged" and the
  // keychain starts empty; none when even that fails.
  std::optional<nlohmann::json> readItems() const;
  bool writeItems(const nlohmann::json& items) const;

  std::string path_;
  std::string defaultAccessGroup_;
};

}  // namespace kolvane
