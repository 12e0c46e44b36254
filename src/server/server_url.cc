#include "server/server_url.h"

#include "server/deployment.h"

namespace kolvane {

void KVServerUrl::setEnvironment(int environment) { kolvane::setEnvironment(environment); }

std::optional<std::string> KVServerUrl::baseUrlForServer(int server) {
  const int environment = kolvane::environment();
  if (environment != KVEnvironmentStaging && environment != KVEnvironmentProduction) {
    return std::nullopt;
  }
  if (server == KVServerNone) return std::string();
  if (server != KVServerApi && server != KVServerSso) return std::nullopt;
  const KVDeployment deployment = KVDeployment::current();
  const bool staging = environment == KVEnvironmentStaging;
  if (server == KVServerApi)
    return staging ? deployment.stagingApiUrl : deployment.productionApiUrl;
  return staging ? deployment.stagingSignOnUrl : deployment.productionSignOnUrl;
}

}  // namespace kolvane
