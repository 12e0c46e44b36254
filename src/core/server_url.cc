#include "core/server_url.h"

#include "kolvane/kolvane.h"
#include "server/deployment.h"

namespace kolvane {

// Zero-initialised: staging until start-up chooses.
int kolvaneEnvironment = KVEnvironmentStaging;

void KVServerUrl::setEnvironment(int environment) { kolvaneEnvironment = environment; }

std::optional<std::string> KVServerUrl::baseUrlForServer(int server) {
  const int environment = kolvaneEnvironment;
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
