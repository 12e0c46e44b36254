// KVNetwork's framing half: how each kind of request is built byte for byte, and how an answer
// becomes (error, JSON value). Sending belongs to the platform's HTTP transport. Stateless;
// any thread.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/error.h"

namespace kolvane {

struct KVHttpRequest {
  std::string method;
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;  // in the order they were set
  std::string body;
  double timeout = 0;  // seconds; 0 for the transport's default

  void setHeader(std::string name, std::string value);
};

// Parameters keep their insertion order: the query and form texts follow it.
using KVParametersJson = nlohmann::ordered_json;

class KVNetwork {
 public:
  // "key=value" pairs joined by "&", values percent-escaped (everything but letters, digits
  // and "-._~"), keys as they are. None when there are no pairs.
  static std::optional<std::string> makeParamsStringsWithDict(const KVParametersJson& parameters);

  // GET of base URL + path, with the parameter string, unescaped again, as its query. None when
  // the server kind has no base URL in the current environment.
  static std::optional<KVHttpRequest> getRequestForServer(int server, std::string_view path,
                                                          const KVParametersJson& parameters);
  // The form POST to the sign-on host.
  static std::optional<KVHttpRequest> postAuthRequestForPath(std::string_view path,
                                                             const KVParametersJson& parameters);
  // The JSON POST to the API host.
  static std::optional<KVHttpRequest> postApiRequestForPath(std::string_view path,
                                                            const KVParametersJson& parameters);
  // The multipart POST of files to the API host (field "file"); none when a file can't be read.
  static std::optional<KVHttpRequest> uploadRequestForPath(std::string_view path,
                                                           const std::vector<std::string>& files);

  // "Boundary-" and a fresh upper-case UUID.
  static std::string generateBoundaryString();
  static std::optional<std::string> createBodyWithBoundary(
      std::string_view boundary, const std::vector<std::pair<std::string, std::string>>& fields,
      const std::vector<std::string>& files, std::string_view fieldName);

  // Domain "server", the status as code; "N errors", else the server's code text, else
  // "Server error".
  static KVError errorFromJson(const nlohmann::json& value, long code);

  struct Answer {
    std::optional<KVError> error;
    nlohmann::json value;  // null when the body was empty or not JSON
  };
  // A non-empty body must be a JSON object or array; any status but exactly 200 is a failure.
  static Answer handleAnswer(long status, std::string_view body,
                             std::optional<KVError> connectionError);
};

}  // namespace kolvane
