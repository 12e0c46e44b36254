// KVReviewLocaleStrings: a one-time snapshot of one locale's strings for the review of changes,
// read from review files of its own that are deleted as soon as they are read. Main thread.
#pragma once

#include <memory>

#include "core/locale_strings.h"

namespace kolvane {

class KVReviewLocaleStrings : public KVLocaleStrings {
 public:
  using KVLocaleStrings::KVLocaleStrings;
  static std::shared_ptr<KVReviewLocaleStrings> reviewLocaleStringsFromLocaleStrings(
      const KVLocaleStrings& store);

  std::string publishedFilePath() const override;
  std::string pendingFilePath() const override;
  std::string dirtyFilePath() const override;

  // Reads the published review file (status 1) and the pending one over it, then deletes the
  // review files: a snapshot is consumed once.
  void loadStrings();
  // Does nothing, so that clearing edits never touches a review snapshot. (The inherited
  // clearDirtyStrings() still deletes the edited review file.)
  void clearDirty() {}
  // Does nothing: the decisions a snapshot would clear are the shown store's, kept in the
  // shared settings, and a snapshot holds no edits of its own.
  void discardLocalChanges() override {}
  // Deletes the edited, pending and published review files, ignoring errors.
  void clearAllFiles();
};

}  // namespace kolvane
