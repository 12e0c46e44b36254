// Fetching a store's latest text from the server.
#include "core/locale_identifiers.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "server/network.h"
#include "server/workflow_step.h"

namespace kolvane {
namespace {

constexpr double kDownloadTimeout = 20;

}  // namespace

void KVLocaleStrings::pullWithCompletion(std::function<void(std::optional<KVError>)> completion) {
  clearDirtyStrings();
  clearDirtyStatuses();
  const KVMainController& controller = KVMainController::sharedInstance();
  const std::string path = "/files-api/v2/projects/" + controller.appId().value_or("") +
                           "/locales/" + kolvaneLocaleIdentifier(locale()) + "/content/export";
  // The completions only touch files, so they need nothing of the store itself.
  KVNetwork::downloadPath(
      path, {{"retrievalType", "PUBLISHED"}}, kDownloadTimeout, publishedFilePath(),
      [path, pending = pendingFilePath(),
       completion = std::move(completion)](std::optional<KVError> publishedError) {
        const auto& step = KVMainController::sharedInstance().workflowStep();
        if (!step) return completion(std::move(publishedError));
        KVNetwork::downloadPath(path,
                                {{"retrievalType", "PENDING"}, {"workflowStepUids[0]", step->uid}},
                                kDownloadTimeout, pending,
                                [publishedError, completion](std::optional<KVError> pendingError) {
                                  completion(publishedError ? publishedError : pendingError);
                                });
      });
}

std::optional<double> KVLocaleStrings::lastDownloadDate() const {
  return Platform::current().fileSystem().creationDate(pendingFilePath());
}

}  // namespace kolvane
