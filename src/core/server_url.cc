#include "core/server_url.h"

#include "kolvane/kolvane.h"

namespace kolvane {

// Zero-initialised: staging until start-up chooses.
int kolvaneEnvironment = KVEnvironmentStaging;

void KVServerUrl::setEnvironment(int environment) { kolvaneEnvironment = environment; }

}  // namespace kolvane
