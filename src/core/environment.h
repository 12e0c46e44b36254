// The server environment chosen at start-up, kept in the exported `kolvaneEnvironment`.
// Main thread only.
#pragma once

namespace kolvane {

enum KVEnvironment : int {
  KVEnvironmentStaging = 0,
  KVEnvironmentProduction = 1,
};

void setEnvironment(int environment);
int environment();

}  // namespace kolvane
