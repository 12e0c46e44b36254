// The values fixed per deployment of the SDK: the four server base URLs, the sign-on redirect
// scheme and the SDK's bundle identifier. Compiled-in defaults come from the build; a host's
// bundle may override any of them with a "Kolvane.json" resource. Nothing else changes them.
// Any thread.
#pragma once

#include <string>

namespace kolvane {

struct KVDeployment {
  std::string stagingApiUrl;
  std::string productionApiUrl;
  std::string stagingSignOnUrl;
  std::string productionSignOnUrl;
  std::string redirectScheme;
  std::string sdkBundleIdentifier;

  // The build's defaults.
  static KVDeployment defaults();
  // The defaults with the main bundle's "Kolvane.json" laid over them: each of the keys
  // "stagingApiUrl", "productionApiUrl", "stagingSignOnUrl", "productionSignOnUrl",
  // "redirectScheme", "sdkBundleIdentifier" that holds a text replaces that value. A missing
  // or unreadable file leaves the defaults. Read once per bundle.
  static KVDeployment current();
};

}  // namespace kolvane
