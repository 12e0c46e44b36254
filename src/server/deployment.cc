#include "server/deployment.h"

#include <map>
#include <mutex>
#include <nlohmann/json.hpp>

#include "base/bounded_json.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "server/deployment_defaults.h"

namespace kolvane {
namespace {

void overrideFrom(const nlohmann::json& file, const char* key, std::string& value) {
  const auto found = file.find(key);
  if (found != file.end() && found->is_string()) value = found->get<std::string>();
}

KVDeployment readDeployment(const Bundle& bundle) {
  KVDeployment deployment = KVDeployment::defaults();
  const auto path = bundle.pathForResource("Kolvane", "json");
  if (!path) return deployment;
  const auto bytes = Platform::current().fileSystem().readFile(*path);
  if (!bytes) return deployment;
  const nlohmann::json file = parseBoundedJson(*bytes);
  if (!file.is_object()) return deployment;
  overrideFrom(file, "stagingApiUrl", deployment.stagingApiUrl);
  overrideFrom(file, "productionApiUrl", deployment.productionApiUrl);
  overrideFrom(file, "stagingSignOnUrl", deployment.stagingSignOnUrl);
  overrideFrom(file, "productionSignOnUrl", deployment.productionSignOnUrl);
  overrideFrom(file, "redirectScheme", deployment.redirectScheme);
  overrideFrom(file, "sdkBundleIdentifier", deployment.sdkBundleIdentifier);
  return deployment;
}

}  // namespace

KVDeployment KVDeployment::defaults() {
  return {KOLVANE_STAGING_API_URL,        KOLVANE_PRODUCTION_API_URL, KOLVANE_STAGING_SIGN_ON_URL,
          KOLVANE_PRODUCTION_SIGN_ON_URL, KOLVANE_REDIRECT_SCHEME,    KOLVANE_SDK_BUNDLE_ID};
}

KVDeployment KVDeployment::current() {
  // The file is part of the shipped bundle: reading it once per bundle is enough.
  static std::mutex mutex;
  static std::map<const Bundle*, KVDeployment> read;
  const Bundle& bundle = Platform::current().mainBundle();
  std::lock_guard lock(mutex);
  auto found = read.find(&bundle);
  if (found == read.end()) found = read.emplace(&bundle, readDeployment(bundle)).first;
  return found->second;
}

}  // namespace kolvane
