// The sending half of KVNetwork: authorisation, transport, answer decoding and logging.
#include <filesystem>

#include "base/log.h"
#include "server/log_redaction.h"
#include "server/network.h"
#include "server/server_url.h"
#include "server/session.h"

namespace kolvane {
namespace {

// What the transport would have reported for a URL it cannot use: the server kind has no base
// URL in the current environment.
const KVError kNoServerError{kKVErrorDomainNetwork, kKVErrorCodeNoServerAddress,
                             "No server address for this environment"};

// The request as a log shows it: method, URL, headers and body, secrets redacted.
std::string requestText(const KVHttpRequest& request) {
  return request.method + " " + redactedUrl(request.url) + "\n\n" + redactedHeadersText(request) +
         "\n\n" + redactedBody(request.body);
}

std::string valueText(const nlohmann::json& value) {
  return redactedJson(value).dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

KVError statusError(long status) {
  return KVError{kKVErrorDomainServer, status,
                 "The server answered " + std::to_string(status) + " instead of the file"};
}

void failSoon(KVJsonCompletion completion) {
  Platform::current().mainQueue().post(
      [completion = std::move(completion)] { completion(kNoServerError, nullptr); });
}

// Sends the request as it stands and decodes the answer.
void sendNow(const KVHttpRequest& request, KVJsonCompletion completion) {
  Platform::current().httpTransport().send(
      request, [request, completion = std::move(completion)](HttpResponse response) {
        std::optional<KVError> failure;
        if (response.failure) failure = KVNetwork::connectionError(response);
        auto answer = KVNetwork::handleAnswer(response.status, response.body, std::move(failure));
        KVNetwork::debugRequest(request, response.status, answer.error, answer.value);
        completion(std::move(answer.error), std::move(answer.value));
      });
}

// The send step, run at once or once the session has put the bearer token on the request.
void send(std::optional<KVHttpRequest> request, bool authenticated, KVJsonCompletion completion) {
  if (!request) return failSoon(std::move(completion));
  if (!authenticated) return sendNow(*request, std::move(completion));
  auto shared = std::make_shared<KVHttpRequest>(std::move(*request));
  KVSession::sharedInstance().authorizeRequest(
      shared, [shared, completion = std::move(completion)] { sendNow(*shared, completion); });
}

std::optional<KVHttpRequest> postOrPutRequest(std::string_view path, int server,
                                              const KVParametersJson& parameters,
                                              std::string_view method) {
  auto request = server == KVServerApi ? KVNetwork::postApiRequestForPath(path, parameters)
                                       : KVNetwork::postAuthRequestForPath(path, parameters);
  if (request) request->method = method;
  return request;
}

}  // namespace

KVError KVNetwork::connectionError(const HttpResponse& response) {
  // The transport's own message ("Couldn't connect to server") tells a reviewer nothing to do.
  KVError error{kKVErrorDomainNetwork, kKVErrorCodeNoAnswer, kKVServerUnreachableText, "No answer"};
  if (response.failure) {
    error.code = response.failure->first;
    error.details = response.failure->second;
  }
  return error;
}

void KVNetwork::getPath(std::string_view path, bool authenticated, int server,
                        const KVParametersJson& parameters, KVJsonCompletion completion) {
  auto request = getRequestForServer(server, path, parameters);
  if (request) request->setHeader("Content-Type", "application/json");
  send(std::move(request), authenticated, std::move(completion));
}

void KVNetwork::postPath(std::string_view path, bool authenticated, int server,
                         const KVParametersJson& parameters, KVJsonCompletion completion) {
  send(postOrPutRequest(path, server, parameters, "POST"), authenticated, std::move(completion));
}

void KVNetwork::putPath(std::string_view path, bool authenticated, int server,
                        const KVParametersJson& parameters, KVJsonCompletion completion) {
  send(postOrPutRequest(path, server, parameters, "PUT"), authenticated, std::move(completion));
}

void KVNetwork::postPath(std::string_view path, const std::string& fileAttachment,
                         KVJsonCompletion completion, const FormFields& fields) {
  auto request = uploadRequestForPath(path, {fileAttachment}, fields);
  if (!request) {
    Platform::current().mainQueue().post([completion = std::move(completion), fileAttachment] {
      completion(KVError{kKVErrorDomainFile, kKVErrorCodeFileReadNoSuchFile,
                         "Could not read " + fileAttachment},
                 nullptr);
    });
    return;
  }
  send(std::move(request), true, std::move(completion));
}

void KVNetwork::downloadPath(std::string_view path, const KVParametersJson& parameters,
                             double timeout, const std::string& file,
                             KVErrorCompletion completion) {
  auto request = getRequestForServer(KVServerApi, path, parameters);
  if (!request) {
    Platform::current().mainQueue().post(
        [completion = std::move(completion)] { completion(kNoServerError); });
    return;
  }
  request->timeout = timeout;
  auto shared = std::make_shared<KVHttpRequest>(std::move(*request));
  auto download = [shared, file, completion = std::move(completion)] {
    Platform::current().httpTransport().send(
        *shared, [shared, file, completion](HttpResponse response) {
          std::optional<KVError> error;
          if (response.failure) {
            error = connectionError(response);
          } else if (response.status != 200) {
            // The file it would replace stays as it was: an error page is not a translation.
            error = statusError(response.status);
          } else if (!response.body.empty()) {
            error = writeData(response.body, file);
          }
          if (debugEnabled()) {
            kvLog("\n-- Kolvane Sync Download Network Request --\n" + requestText(*shared) +
                  "\n----\nResponse [" + std::to_string(response.status) + "]" +
                  (error ? "\nError: " + error->localizedDescription : "\nSaved at " + file) +
                  "\n----");
          }
          completion(std::move(error));
        });
  };
  KVSession::sharedInstance().authorizeRequest(shared, std::move(download));
}

void KVNetwork::downloadFileAtURL(
    const std::string& url, const std::string& localPath,
    std::function<void(std::optional<KVError>, std::string)> completion) {
  KVHttpRequest request{"GET", url, {}, {}, 0};
  Platform::current().httpTransport().send(
      std::move(request),
      [url, localPath, completion = std::move(completion)](HttpResponse response) {
        std::optional<KVError> error;
        if (response.failure) {
          error = connectionError(response);
        } else if (response.status != 200) {
          error = statusError(response.status);
        } else if (!response.body.empty() && writeData(response.body, localPath)) {
          kvDebug("Could not keep the download of " + redactedUrl(url) + " at " + localPath);
        }
        completion(std::move(error), std::move(response.body));
      });
}

std::optional<KVError> KVNetwork::writeData(std::string_view data, const std::string& file) {
  const std::filesystem::path folder = std::filesystem::path(file).parent_path();
  std::error_code error;
  if (!folder.empty() && !std::filesystem::is_directory(folder, error)) {
    std::filesystem::create_directories(folder, error);
    if (error)
      return KVError{kKVErrorDomainFile, error.value(), "Could not create " + folder.string()};
  }
  kvDebug("Writing " + std::to_string(data.size()) + " bytes to " + file);
  if (!Platform::current().fileSystem().writeFileAtomically(file, data)) {
    return KVError{kKVErrorDomainFile, kKVErrorCodeFileWriteUnknown, "Could not write " + file};
  }
  return std::nullopt;
}

void KVNetwork::debugRequest(const KVHttpRequest& request, long status,
                             const std::optional<KVError>& error, const nlohmann::json& value) {
  if (debugEnabled()) {
    kvLog("\n-- Kolvane Network Request --\n" + requestText(request) + "\n----\nResponse [" +
          std::to_string(status) + "]" +
          (error ? "\nError: " + error->localizedDescription : std::string()) +
          (value.is_null() ? std::string() : "\nJSON: " + valueText(value)) + "\n----");
  } else if (logEnabled() && error) {
    kvLog("[JN] " + request.method + " " + redactedUrl(request.url) + " => " +
          std::to_string(status) + " " + error->localizedDescription);
  }
}

}  // namespace kolvane
