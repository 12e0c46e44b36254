// What the runtime needs of the reviewer's side (the login and the server), which lives in the
// layers above it. Those layers install one implementation before start-up; until then nobody
// is signed in and nothing can be downloaded.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/error.h"

namespace kolvane {

class KVReviewerServices {
 public:
  using Parameters = std::vector<std::pair<std::string, std::string>>;

  virtual ~KVReviewerServices() = default;
  // Restores a login kept from an earlier run. Main thread.
  virtual void restoreLogin() = 0;
  // A reviewer is signed in. Any thread.
  virtual bool isLoggedIn() const = 0;
  // Downloads the API host's `path` with the query `parameters` into `file`, authenticated;
  // `completion` runs on the main queue. Main thread.
  virtual void downloadPath(std::string_view path, const Parameters& parameters, double timeout,
                            const std::string& file,
                            std::function<void(std::optional<KVError>)> completion) = 0;
};

}  // namespace kolvane
