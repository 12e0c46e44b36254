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
  const bool staging = environment == KVEnvironmentStaging;
  switch (server) {
    case KVServerApi: {
      const KVDeployment deployment = KVDeployment::current();
      return staging ? deployment.stagingApiUrl : deployment.productionApiUrl;
    }
    case KVServerSso: {
      const KVDeployment deployment = KVDeployment::current();
      return staging ? deployment.stagingSignOnUrl : deployment.productionSignOnUrl;
    }
    case KVServerNone:
      return std::string();
    default:
      return std::nullopt;
  }
}

}  // namespace kolvane
