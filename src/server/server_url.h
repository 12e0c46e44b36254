// The server environment chosen at start-up. Main thread only.
#pragma once

#include <optional>
#include <string>

#include "core/environment.h"

namespace kolvane {

enum KVServer : int {
  KVServerApi = 0,   // the REST API host
  KVServerSso = 1,   // the sign-on host (token and logout endpoints)
  KVServerNone = 2,  // no host: an empty base URL
};

class KVServerUrl {
 public:
  // Stores the environment in `kolvaneEnvironment`.
  static void setEnvironment(int environment);
  // The "https" origin (no trailing slash) of a server kind in the current environment; the
  // empty text for KVServerNone; none for an unknown environment or server kind.
  static std::optional<std::string> baseUrlForServer(int server);
};

}  // namespace kolvane
