// The server environment chosen at start-up. Main thread only.
#pragma once

namespace kolvane {

enum KVEnvironment : int {
  KVEnvironmentStaging = 0,
  KVEnvironmentProduction = 1,
};

class KVServerUrl {
 public:
  // Stores the environment in `kolvaneEnvironment`.
  static void setEnvironment(int environment);
};

}  // namespace kolvane
