// KVApi: the server calls of the runtime. Each builds its path and parameters, sends them
// through KVNetwork, picks the payload out of the answer envelope ("response" → "data") and
// reports what failed. Completions run on the main queue; calls are made on the main thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/error.h"
#include "server/session.h"
#include "strings/string_group.h"
#include "strings/xliff_writer.h"

namespace kolvane {

using KVGroupList = std::vector<std::shared_ptr<KVStringGroup>>;
// Why the server refused strings, by key, in its own words (a string may have none).
using KVRefusalReasons = std::map<std::string, std::string>;

class KVApi {
 public:
  // The sign-on token exchange; the record gets "expires" and "refresh_expires" (now plus the
  // lifetimes). An answer without the lifetimes or the access token is an "auth" error 500.
  // A code asked for through a loopback redirect is exchanged with that redirect and the PKCE
  // verifier (`loopback`); otherwise the app's own redirect scheme is named.
  static void tokenWithCode(const std::string& code, bool refresh,
                            std::function<void(std::optional<KVError>, nlohmann::json)> completion,
                            const std::optional<KVLoopbackGrant>& loopback = std::nullopt);
  // Tells the sign-on server to end the session; nothing without a refresh token.
  static void logOutWithRefreshToken(const std::optional<std::string>& refreshToken);
  static void pingWithCompletion(std::function<void(std::optional<KVError>)> completion);
  // Cached in the session; a request is made only when forced or nothing is cached.
  static void projectInfoForce(
      bool force, std::function<void(std::optional<KVError>, nlohmann::json)> completion);
  static void projectWorkflowsForce(
      bool force, std::function<void(std::optional<KVError>, KVWorkflowSteps)> completion);

  // Moves strings on in the current workflow step ("submittedStrings") or back
  // ("rejectedStrings"). Strings the server does not know (no hash code) are left out. The
  // completion gets the strings that failed (all of them when the call itself failed) and the
  // reasons the server gave.
  using StatusCompletion = std::function<void(KVGroupList, KVRefusalReasons)>;
  static void setStatus(const std::string& status, const KVGroupList& strings,
                        StatusCompletion completion);
  static void submitStrings(const KVGroupList& strings, StatusCompletion completion);
  static void rejectStrings(const KVGroupList& strings, StatusCompletion completion);
  // Uploads the strings' translations as XLIFF. The completion gets the strings that failed by
  // key, or none when there was nothing to send; and, when the file could not be written or
  // the upload itself failed (every string then counts as failed), the error; and the reasons
  // the server gave for the strings it refused.
  static void saveStrings(
      const KVStringGroups& strings,
      std::function<void(std::optional<KVError>, std::optional<KVWriteFailures>, KVRefusalReasons)>
          completion);
  // Captures of windows are Kolvane's own extension of the server API: a server that takes
  // them lists "captures" in its project info's "kolvaneExtensions". Answers from the cached
  // project info when there is one.
  static void projectTakesCaptures(std::function<void(std::optional<KVError>, bool)> completion);
  // Sends a window's picture (PNG) and its regions (a JSON array of {"keys", "text", "x", "y",
  // "width", "height"}, in the picture's pixels) for the shown locale. The completion gets the
  // error, or the server's answer ("attachedKeys": how many strings it attached it to).
  static void sendCapture(const std::string& png, const std::string& regions,
                          std::function<void(std::optional<KVError>, std::size_t)> completion);
  // Files a translation issue with the string's reject reason and description.
  static void createIssueForString(const std::shared_ptr<KVStringGroup>& string,
                                   std::function<void(std::optional<KVError>)> completion);
};

}  // namespace kolvane
