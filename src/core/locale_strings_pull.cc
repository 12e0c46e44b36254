// Fetching a store's latest text from the server, through the reviewer's services.
#include "core/locale_identifiers.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/reviewer_services.h"
#include "core/workflow_step.h"
#include "kolvane/platform.h"

namespace kolvane {
namespace {

constexpr double kDownloadTimeout = 20;

}  // namespace

void KVLocaleStrings::pullWithCompletion(std::function<void(std::optional<KVError>)> completion) {
  clearDirtyStrings();
  clearDirtyStatuses();
  KVMainController& controller = KVMainController::sharedInstance();
  KVReviewerServices* services = controller.reviewerServices();
  if (services == nullptr) {
    KVError error{kKVErrorDomainApp, kKVErrorCodeNoServerAddress, "No server connection is set up"};
    Platform::current().mainQueue().post(
        [completion = std::move(completion), error] { completion(error); });
    return;
  }
  const std::string path = "/files-api/v2/projects/" + controller.appId().value_or("") +
                           "/locales/" + kolvaneLocaleIdentifier(locale()) + "/content/export";
  // The completions only touch files, so they need nothing of the store itself.
  services->downloadPath(
      path, {{"retrievalType", "PUBLISHED"}}, kDownloadTimeout, publishedFilePath(),
      [path, pending = pendingFilePath(),
       completion = std::move(completion)](std::optional<KVError> publishedError) {
        KVMainController& main = KVMainController::sharedInstance();
        const auto& step = main.workflowStep();
        KVReviewerServices* again = main.reviewerServices();
        if (!step || again == nullptr) return completion(std::move(publishedError));
        again->downloadPath(path,
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
