#include "core/environment.h"

#include "kolvane/lookup.h"

namespace kolvane {

// Zero-initialised: staging until start-up chooses.
int kolvaneEnvironment = KVEnvironmentStaging;

void setEnvironment(int environment) { kolvaneEnvironment = environment; }
int environment() { return kolvaneEnvironment; }

}  // namespace kolvane
