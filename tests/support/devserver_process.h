// Runs kolvane-devserver as a child process on a free port for the length of a test.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace kolvane::testing {

class DevServerProcess {
 public:
  // Starts the server with `arguments` (and, unless told otherwise, the fault routes and the
  // tests' redirect scheme) and waits for its "listening on" line.
  explicit DevServerProcess(std::vector<std::string> arguments = {}, bool forTests = true);
  ~DevServerProcess();  // SIGTERM, then waits for it to end
  DevServerProcess(const DevServerProcess&) = delete;
  DevServerProcess& operator=(const DevServerProcess&) = delete;

  bool running() const { return !baseUrl_.empty(); }
  const std::string& baseUrl() const { return baseUrl_; }
  // Stops it now; the exit status (0 for a clean stop).
  int stop();

 private:
  pid_t pid_ = -1;
  std::string baseUrl_;
};

// Where the dev server's sign-on pages are, and the type of the forms they take.
inline constexpr const char* kSignOnRealm = "/auth/realms/Kolvane/protocol/openid-connect";
inline constexpr const char* kFormType = "application/x-www-form-urlencoded";

// One HTTP exchange made directly with libcurl, redirects not followed, for what the SDK itself
// never sends (the sign-in form, the fault switches).
struct DirectAnswer {
  long status = 0;
  std::string body;
  std::string location;
};
DirectAnswer directRequest(const std::string& method, const std::string& url,
                           const std::string& body = {}, const std::string& contentType = {},
                           const std::vector<std::string>& extraHeaders = {});

}  // namespace kolvane::testing
