// The failure report handed to completions and returned by operations that can fail.
#pragma once

#include <string>

namespace kolvane {

struct KVError {
  std::string domain;  // "server", "auth", "app", "analytics", "xml", "file"
  long code = 0;
  std::string localizedDescription;
};

}  // namespace kolvane
