// Fetching a store's latest text from the server, through the reviewer's services.
#include "base/log.h"
#include "core/locale_identifiers.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/persistence.h"
#include "core/reviewer_services.h"
#include "core/workflow_step.h"
#include "kolvane/platform.h"

namespace kolvane {
namespace {

constexpr double kDownloadTimeout = 20;

// Downloads land beside the file they will replace and take its place only once every download
// of the pull has come.
std::string stagedPath(const std::string& path) { return path + ".download"; }

// The staged downloads replace the store's files; false when one could not.
bool commitStaged(const std::vector<std::string>& paths) {
  FileSystem& files = Platform::current().fileSystem();
  bool committed = true;
  for (const std::string& path : paths) {
    // An empty answer writes nothing and leaves the file it would replace as it was.
    if (!files.fileExists(stagedPath(path))) continue;
    committed = committed && files.moveFile(stagedPath(path), path);
    removeFileIfPresent(stagedPath(path));
  }
  return committed;
}

void removeStaged(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) removeFileIfPresent(stagedPath(path));
}

}  // namespace

void KVLocaleStrings::pullWithCompletion(std::function<void(std::optional<KVError>)> completion) {
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
  // Once the downloads have come the store throws away what they replace; a store no longer
  // owned by anyone has nothing to throw away.
  auto finish = [store = weak_from_this(), completion = std::move(completion)](
                    std::vector<std::string> paths, std::optional<KVError> error) {
    if (error) {
      removeStaged(paths);
      return completion(std::move(error));
    }
    if (!commitStaged(paths)) {
      return completion(KVError{kKVErrorDomainFile, kKVErrorCodeInternal,
                                "The latest text could not be saved on this device"});
    }
    if (const auto owner = store.lock()) owner->discardLocalChanges();
    completion(std::nullopt);
  };
  services->downloadPath(
      path, {{"retrievalType", "PUBLISHED"}}, kDownloadTimeout, stagedPath(publishedFilePath()),
      [path, published = publishedFilePath(), pending = pendingFilePath(),
       finish = std::move(finish)](std::optional<KVError> publishedError) {
        KVMainController& main = KVMainController::sharedInstance();
        const auto& step = main.workflowStep();
        KVReviewerServices* again = main.reviewerServices();
        if (!step || again == nullptr) return finish({published}, std::move(publishedError));
        again->downloadPath(
            path, {{"retrievalType", "PENDING"}, {"workflowStepUids[0]", step->uid}},
            kDownloadTimeout, stagedPath(pending),
            [published, pending, publishedError, finish](std::optional<KVError> pendingError) {
              finish({published, pending}, publishedError ? publishedError : pendingError);
            });
      });
}

void KVLocaleStrings::discardLocalChanges() {
  clearDirtyStrings();
  clearDirtyStatuses();
}

std::optional<double> KVLocaleStrings::lastDownloadDate() const {
  return Platform::current().fileSystem().creationDate(pendingFilePath());
}

}  // namespace kolvane
