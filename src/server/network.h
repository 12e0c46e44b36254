// KVNetwork: every HTTP exchange of the runtime. It frames each kind of request byte for byte,
// lets the session stamp authenticated ones, sends them through the platform's transport and
// hands (error, JSON value) to the caller on the main queue. Stateless.
// The builders and answer handling run on any thread; the senders on the main thread.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/error.h"
#include "kolvane/platform.h"

namespace kolvane {

using KVHttpRequest = HttpRequest;

// Parameters keep their insertion order: the query and form texts follow it.
using KVParametersJson = nlohmann::ordered_json;

// (error, decoded JSON) of an exchange; the value is null when the body was empty or not JSON
// and is passed even when there is an error.
using KVJsonCompletion = std::function<void(std::optional<KVError>, nlohmann::json)>;
using KVErrorCompletion = std::function<void(std::optional<KVError>)>;

// What a reviewer is told when no answer came from the server.
inline constexpr char kKVServerUnreachableText[] =
    "The translation server cannot be reached. Check the connection and try again.";

class KVNetwork {
 public:
  // Sending. Every completion runs on the main queue. An authenticated exchange goes through
  // the session first, which drops it (completion never called) when nobody is logged in.
  static void getPath(std::string_view path, bool authenticated, int server,
                      const KVParametersJson& parameters, KVJsonCompletion completion);
  // Server kind KVServerApi: JSON to the API host; any other: a form to the sign-on host.
  static void postPath(std::string_view path, bool authenticated, int server,
                       const KVParametersJson& parameters, KVJsonCompletion completion);
  static void putPath(std::string_view path, bool authenticated, int server,
                      const KVParametersJson& parameters, KVJsonCompletion completion);
  // Uploads one file as the multipart field "file", after the text fields `fields`; always
  // authenticated.
  using FormFields = std::vector<std::pair<std::string, std::string>>;
  static void postPath(std::string_view path, const std::string& fileAttachment,
                       KVJsonCompletion completion, const FormFields& fields = {});
  // GET on the API host, authenticated, whose body replaces `file` (atomically) when the answer
  // is 200. Any other status leaves the file as it was and is a "server" error with that
  // status; otherwise the error is the connection's or the write's.
  static void downloadPath(std::string_view path, const KVParametersJson& parameters,
                           double timeout, const std::string& file, KVErrorCompletion completion);
  // A plain GET of a full URL; a 200 answer is also written to `localPath` (best effort), any
  // other status is a "server" error with that status.
  static void downloadFileAtURL(
      const std::string& url, const std::string& localPath,
      std::function<void(std::optional<KVError>, std::string)> completion);
  // Creates the file's folder when missing, then writes atomically.
  static std::optional<KVError> writeData(std::string_view data, const std::string& file);

  // The debug form of an exchange, or with only `log` on the one line of a failed one.
  static void debugRequest(const KVHttpRequest& request, long status,
                           const std::optional<KVError>& error, const nlohmann::json& value);

  // The error of a failed exchange (no answer at all), as completions receive it.
  static KVError connectionError(const HttpResponse& response);

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
  // The multipart POST of text fields and files to the API host (field "file"); none when a
  // file can't be read.
  static std::optional<KVHttpRequest> uploadRequestForPath(std::string_view path,
                                                           const std::vector<std::string>& files,
                                                           const FormFields& fields = {});

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
