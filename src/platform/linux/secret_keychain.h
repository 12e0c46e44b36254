// The keychain on the desktop's Secret Service (GNOME Keyring, KWallet, KeePassXC) through
// libsecret, and the choice between it and the file keychain.
#pragma once

#include <memory>
#include <string>

#include "kolvane/platform.h"

namespace kolvane {

class SecretKeychain : public Keychain {
 public:
  explicit SecretKeychain(std::string defaultAccessGroup);

  // A Secret Service answers on the session bus.
  static bool serviceAvailable();

  KeychainStatus add(const KeychainQuery& query, std::string_view data) override;
  KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) override;
  KeychainStatus remove(const KeychainQuery& query) override;

 private:
  std::string defaultAccessGroup_;
};

// The Secret Service when one answers the first time the keychain is used, else the 0600 file
// at `fallbackPath`. The choice holds for the life of the process.
std::unique_ptr<Keychain> makeLinuxKeychain(std::string fallbackPath,
                                            std::string defaultAccessGroup);

}  // namespace kolvane
