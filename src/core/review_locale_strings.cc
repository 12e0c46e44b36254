#include "core/review_locale_strings.h"

#include "core/persistence.h"

namespace kolvane {

std::shared_ptr<KVReviewLocaleStrings> KVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(
    const KVLocaleStrings& store) {
  return std::make_shared<KVReviewLocaleStrings>(store.locale());
}

std::string KVReviewLocaleStrings::publishedFilePath() const {
  return fileNamed("_published_review.xlf");
}

std::string KVReviewLocaleStrings::pendingFilePath() const {
  return fileNamed("_pending_review.xlf");
}

std::string KVReviewLocaleStrings::dirtyFilePath() const { return fileNamed("_edited_review.xlf"); }

void KVReviewLocaleStrings::loadStrings() {
  KVStringGroups groups;
  loadStringsFromPath(publishedFilePath(), &groups, nullptr, KVStringStatusPublished);
  loadStringsFromPath(pendingFilePath(), &groups, nullptr, KVStringStatusNone);
  setLoadedStrings(std::move(groups));
  clearAllFiles();
}

void KVReviewLocaleStrings::clearAllFiles() {
  for (const std::string& path : {dirtyFilePath(), pendingFilePath(), publishedFilePath()}) {
    removeFileIfPresent(path);
  }
}

}  // namespace kolvane
