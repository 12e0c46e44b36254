#include "server/api.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"
#include "base/saturating.h"
#include "base/server_text.h"
#include "base/utf.h"
#include "core/locale_identifiers.h"
#include "core/main_controller.h"
#include "core/persistence.h"
#include "core/workflow_step.h"
#include "server/deployment.h"
#include "server/network.h"
#include "server/server_url.h"

namespace kolvane {
namespace {

constexpr std::string_view kTokenPath = "/auth/realms/Kolvane/protocol/openid-connect/token";
constexpr std::string_view kLogoutPath = "/auth/realms/Kolvane/protocol/openid-connect/logout";
constexpr std::string_view kSaveFileName = "saveFile.xlf";
constexpr std::string_view kCaptureFileName = "capture.png";

std::string projectId() { return KVMainController::sharedInstance().appId().value_or(""); }

std::string localeId() {
  const auto locale = KVMainController::sharedInstance().locale();
  return locale ? kolvaneLocaleIdentifier(*locale) : std::string();
}

// The value at `path` in an answer, or null; a null step ends the path there.
const nlohmann::json& valueAt(const nlohmann::json& answer,
                              std::initializer_list<const char*> path) {
  static const nlohmann::json none;
  const nlohmann::json* value = &answer;
  for (const char* step : path) {
    if (step == nullptr) break;
    if (!value->is_object()) return none;
    const auto found = value->find(step);
    if (found == value->end()) return none;
    value = &*found;
  }
  return *value;
}

// "response" → "data" → `name` of an answer, or null.
const nlohmann::json& payload(const nlohmann::json& answer, const char* name = nullptr) {
  return valueAt(answer, {"response", "data", name});
}

// A reason the server gave: a text, or texts joined; nothing else reads as one. Bounded, as
// every text from a server is.
std::string reasonText(const nlohmann::json& value) {
  std::string reason;
  if (value.is_string()) reason = value.get<std::string>();
  if (value.is_array()) {
    for (const auto& part : value) {
      if (!part.is_string()) continue;
      if (!reason.empty()) reason += "; ";
      reason += part.get<std::string>();
    }
  }
  if (reason.size() > kKVMaxServerNameBytes) {
    std::size_t cut = kKVMaxServerNameBytes;
    // Not inside a character: back to the start of the one that would be cut.
    while (cut > 0 && (static_cast<unsigned char>(reason[cut]) & 0xC0) == 0x80) --cut;
    reason.resize(cut);
  }
  return reason;
}

// The first of `strings` whose hash code is `hashcode`.
std::shared_ptr<KVStringGroup> findByUid(const KVGroupList& strings,
                                         const nlohmann::json& hashcode) {
  if (!hashcode.is_string()) return nullptr;
  for (const auto& string : strings) {
    if (string && string->uid() == hashcode.get<std::string>()) return string;
  }
  return nullptr;
}

// Every failure entry of `entries` naming one of `strings` by `hashKey`.
template <typename Report>
void forEachFailure(const nlohmann::json& entries, const char* hashKey, const KVGroupList& strings,
                    Report report) {
  if (!entries.is_array()) return;
  for (const auto& entry : entries) {
    if (!entry.is_object()) continue;
    const auto hashcode = entry.find(hashKey);
    if (hashcode == entry.end()) continue;
    if (auto string = findByUid(strings, *hashcode)) report(string, entry);
  }
}

// The message of the first error of an error answer; empty when there is none.
std::string firstErrorMessage(const nlohmann::json& answer) {
  const auto& errors = valueAt(answer, {"response", "errors"});
  if (!errors.is_array() || errors.empty() || !errors.front().is_object()) return {};
  return reasonText(errors.front().value("message", nlohmann::json()));
}

KVRefusalReasons reasonForAll(const KVGroupList& strings, const KVError& error) {
  KVRefusalReasons reasons;
  for (const auto& string : strings) {
    if (string) reasons[string->key] = error.localizedDescription;
  }
  return reasons;
}

void markAllFailed(const KVStringGroups& strings, KVWriteFailures& failures) {
  for (const auto& [key, group] : strings) failures[key] = group;
}

bool hasNumber(const nlohmann::json& answer, const char* key) {
  const auto found = answer.find(key);
  return found != answer.end() && found->is_number();
}

// The lifetime read as whole seconds; out-of-range values saturate.
double lifetime(const nlohmann::json& value) {
  return static_cast<double>(saturatingCast<long long>(value.get<double>()));
}

}  // namespace

void KVApi::tokenWithCode(const std::string& code, bool refresh,
                          std::function<void(std::optional<KVError>, nlohmann::json)> completion,
                          const std::optional<KVLoopbackGrant>& loopback) {
  KVParametersJson parameters = {
      {"client_id", "ios-sdk"},
      {"redirect_uri",
       loopback ? loopback->redirectUri : KVDeployment::current().redirectScheme + "://login/"}};
  if (loopback && !refresh) parameters["code_verifier"] = loopback->codeVerifier;
  if (refresh) {
    parameters["grant_type"] = "refresh_token";
    parameters["refresh_token"] = code;
  } else {
    parameters["code"] = code;
    parameters["grant_type"] = "authorization_code";
  }
  KVNetwork::postPath(
      kTokenPath, false, KVServerSso, parameters,
      [completion = std::move(completion)](std::optional<KVError> error, nlohmann::json answer) {
        if (error) return completion(std::move(error), nullptr);
        if (!answer.is_object() || !hasNumber(answer, "expires_in") ||
            !hasNumber(answer, "refresh_expires_in") || !answer.contains("access_token")) {
          return completion(KVError{kKVErrorDomainAuth, kKVErrorCodeInternal, "Wrong token format"},
                            nullptr);
        }
        const double now = Platform::current().now();
        answer["expires"] = now + lifetime(answer["expires_in"]);
        answer["refresh_expires"] = now + lifetime(answer["refresh_expires_in"]);
        completion(std::nullopt, std::move(answer));
      });
}

void KVApi::logOutWithRefreshToken(const std::optional<std::string>& refreshToken) {
  if (!refreshToken) return;
  // The logout names the project as its client, where the token exchange names the SDK.
  KVNetwork::getPath(kLogoutPath, false, KVServerSso,
                     {{"refresh_token", *refreshToken}, {"client_id", projectId()}},
                     [](std::optional<KVError>, nlohmann::json) {});
}

void KVApi::pingWithCompletion(std::function<void(std::optional<KVError>)> completion) {
  KVNetwork::getPath(
      "/auth-api/v2/ping", true, KVServerApi, nullptr,
      [completion = std::move(completion)](std::optional<KVError> error, nlohmann::json) {
        if (completion) completion(std::move(error));
      });
}

void KVApi::projectInfoForce(
    bool force, std::function<void(std::optional<KVError>, nlohmann::json)> completion) {
  KVSession& session = KVSession::sharedInstance();
  if (!force && !session.projectInfo().is_null())
    return completion(std::nullopt, session.projectInfo());
  KVNetwork::getPath(
      "/projects-api/v2/projects/" + projectId(), true, KVServerApi, nullptr,
      [completion = std::move(completion)](std::optional<KVError> error, nlohmann::json answer) {
        if (error) return completion(std::move(error), nullptr);
        nlohmann::json info = payload(answer);
        KVSession::sharedInstance().setProjectInfo(info);
        completion(std::nullopt, std::move(info));
      });
}

void KVApi::projectWorkflowsForce(
    bool force, std::function<void(std::optional<KVError>, KVWorkflowSteps)> completion) {
  KVSession& session = KVSession::sharedInstance();
  if (!force && session.workflows()) return completion(std::nullopt, *session.workflows());
  KVNetwork::getPath(
      "/workflows-strings-api/v2/projects/" + projectId() + "/workflows", true, KVServerApi,
      nullptr,
      [completion = std::move(completion)](std::optional<KVError> error, nlohmann::json answer) {
        if (error) return completion(std::move(error), {});
        const nlohmann::json& workflows = payload(answer);
        if (auto refused = KVWorkflowStep::answerBoundsError(workflows)) {
          return completion(std::move(refused), {});
        }
        KVWorkflowSteps steps;
        for (auto& step : KVWorkflowStep::workflowsFromDictionary(workflows)) {
          steps.push_back(std::move(step));
        }
        KVSession::sharedInstance().setWorkflows(steps);
        completion(std::nullopt, std::move(steps));
      });
}

void KVApi::setStatus(const std::string& status, const KVGroupList& strings,
                      StatusCompletion completion) {
  if (strings.empty()) return completion({}, {});
  const auto& step = KVMainController::sharedInstance().workflowStep();
  const std::string stepUid = step ? step->uid : std::string();
  KVParametersJson entries = KVParametersJson::array();
  // A string without a hash code (one only the app's own table has) is not sent: it stays a
  // failure, so the decision on it stays on the device rather than vanish as if sent.
  KVGroupList unknown;
  for (const auto& string : strings) {
    const auto uid = string ? string->uid() : std::nullopt;
    if (uid) entries.push_back({{"currentWorkflowStepUid", stepUid}, {"hashcode", *uid}});
    if (!uid && string) unknown.push_back(string);
  }
  KVNetwork::putPath("/workflows-strings-api/v2/projects/" + projectId() + "/" + status, true,
                     KVServerApi, {{"localeId", localeId()}, {"strings", std::move(entries)}},
                     [status, strings, unknown, completion = std::move(completion)](
                         std::optional<KVError> error, nlohmann::json answer) {
                       if (error) {
                         kvLogIfEnabled(status + " failed: " + error->localizedDescription);
                         return completion(strings, reasonForAll(strings, *error));
                       }
                       KVGroupList failed = unknown;
                       KVRefusalReasons reasons;
                       for (const auto& string : unknown) {
                         reasons[string->key] = "not on the translation server yet";
                       }
                       forEachFailure(payload(answer, "failures"), "hashcode", strings,
                                      [&](const auto& string, const nlohmann::json& entry) {
                                        failed.push_back(string);
                                        reasons[string->key] =
                                            reasonText(entry.value("reason", nlohmann::json()));
                                        kvLogIfEnabled(status + " failed for " + string->key +
                                                       ": " + reasons[string->key]);
                                      });
                       completion(std::move(failed), std::move(reasons));
                     });
}

void KVApi::submitStrings(const KVGroupList& strings, StatusCompletion completion) {
  setStatus("submittedStrings", strings, std::move(completion));
}

void KVApi::rejectStrings(const KVGroupList& strings, StatusCompletion completion) {
  setStatus("rejectedStrings", strings, std::move(completion));
}

void KVApi::saveStrings(
    const KVStringGroups& strings,
    std::function<void(std::optional<KVError>, std::optional<KVWriteFailures>, KVRefusalReasons)>
        completion) {
  if (strings.empty()) return completion(std::nullopt, std::nullopt, {});
  const std::string file =
      KVMainController::kolvaneFilesFolder() + "/" + std::string(kSaveFileName);
  KVWriteFailures failures;
  if (const auto error = KVXliffWriter::writeXliffFromStrings(
          strings, KVMainController::sharedInstance().xliffContext(), file, &failures)) {
    kvLogIfEnabled("Save failed: " + error->localizedDescription);
    markAllFailed(strings, failures);
    return completion(error, std::move(failures), {});
  }
  KVGroupList sent;
  for (const auto& [key, group] : strings) sent.push_back(group);
  KVNetwork::postPath(
      "/files-api/v2/projects/" + projectId() + "/locales/" + localeId() + "/content/import", file,
      [file, strings, sent, failures, completion = std::move(completion)](
          std::optional<KVError> error, nlohmann::json answer) mutable {
        KVRefusalReasons reasons;
        if (error) {
          kvLogIfEnabled("Save failed: " + error->localizedDescription);
          markAllFailed(strings, failures);
        } else {
          forEachFailure(
              payload(answer, "translationImportErrors"), "stringHashCode", sent,
              [&](const auto& string, const nlohmann::json& entry) {
                failures[string->key] = string;
                reasons[string->key] = reasonText(entry.value("messages", nlohmann::json()));
                kvLogIfEnabled("Save failed for " + string->key + ": " + reasons[string->key]);
              });
        }
        removeFileIfPresent(file);
        completion(std::move(error), std::move(failures), std::move(reasons));
      });
}

void KVApi::createIssueForString(const std::shared_ptr<KVStringGroup>& string,
                                 std::function<void(std::optional<KVError>)> completion) {
  const auto uid = string ? string->uid() : std::nullopt;
  if (!uid)
    return completion(
        KVError{kKVErrorDomainApp, kKVErrorCodeInternal, "No hashcode for this string"});
  KVNetwork::postPath(
      "/issues-api/v2/projects/" + projectId() + "/issues", true, KVServerApi,
      {{"string", {{"hashcode", *uid}, {"localeId", localeId()}}},
       {"issueText", toUtf8(string->rejectDescription)},
       {"issueSubTypeCode", toUtf8(string->rejectReason)},
       {"issueTypeCode", "TRANSLATION"}},
      [completion = std::move(completion)](std::optional<KVError> error, nlohmann::json) {
        if (completion) completion(std::move(error));
      });
}

void KVApi::projectTakesCaptures(std::function<void(std::optional<KVError>, bool)> completion) {
  projectInfoForce(false, [completion = std::move(completion)](std::optional<KVError> error,
                                                               nlohmann::json info) {
    if (error) return completion(std::move(error), false);
    const auto extensions = info.is_object() ? info.find("kolvaneExtensions") : info.end();
    const bool takes =
        extensions != info.end() && extensions->is_array() &&
        std::find(extensions->begin(), extensions->end(), "captures") != extensions->end();
    completion(std::nullopt, takes);
  });
}

void KVApi::sendCapture(const std::string& png, const std::string& regions,
                        std::function<void(std::optional<KVError>, std::size_t)> completion) {
  const std::string file =
      KVMainController::kolvaneFilesFolder() + "/" + std::string(kCaptureFileName);
  if (auto error = KVNetwork::writeData(png, file)) return completion(std::move(error), 0);
  KVNetwork::postPath(
      "/kolvane-api/v1/projects/" + projectId() + "/locales/" + localeId() + "/captures", file,
      [file, completion = std::move(completion)](std::optional<KVError> error,
                                                 nlohmann::json answer) {
        removeFileIfPresent(file);
        // A refusal in the server's own words, rather than a count of its errors.
        if (const auto said = firstErrorMessage(answer); error && !said.empty()) {
          error->localizedDescription = said;
        }
        const auto& attached = payload(answer, "attachedKeys");
        completion(std::move(error),
                   attached.is_number_unsigned() ? attached.get<std::size_t>() : 0);
      },
      {{"regions", regions}});
}

}  // namespace kolvane
