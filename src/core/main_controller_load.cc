// Filling the stores from their files, in place or with the reading on a worker thread.
#include <thread>

#include "base/log.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/published.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "strings/string_group.h"

namespace kolvane {

struct KVMainController::FileStrings {
  // Which stores and paths, fixed on the main thread before any reading.
  std::shared_ptr<KVLocaleStrings> shown;
  std::shared_ptr<KVLocaleStrings> base;
  std::optional<std::string> baseTable;
  std::string published;
  std::string pending;
  std::optional<std::string> packaged;
  // What the reading found.
  KVStringGroups shownGroups;
  KVStringGroups baseGroups;
};

namespace {

std::function<void(std::function<void()>)>& backgroundRunner() {
  static std::function<void(std::function<void()>)> runner;
  return runner;
}

void runInBackground(std::function<void()> task) {
  if (const auto& runner = backgroundRunner()) return runner(std::move(task));
  std::thread([task = std::move(task)] {
    // Nothing thrown here may end the host: the reading only fails.
    try {
      task();
    } catch (...) {
      kvLogIfEnabled("Reading the translation files failed");
    }
  }).detach();
}

}  // namespace

void KVMainController::setBackgroundRunner(std::function<void(std::function<void()>)> runner) {
  backgroundRunner() = std::move(runner);
}

KVMainController::FileStrings KVMainController::fileStringsToRead() const {
  FileStrings files;
  files.base = baseLocaleStrings();
  files.shown = localeStrings();
  if (files.base) {
    files.baseTable = Platform::current().mainBundle().pathForResource(
        "Localizable", "strings", files.base->locale().localeIdentifier());
  }
  if (files.shown) {
    files.published = files.shown->publishedFilePath();
    files.pending = files.shown->pendingFilePath();
    files.packaged = files.shown->packagedFilePath();
  }
  return files;
}

void KVMainController::readFileStrings(FileStrings& files) {
  if (files.baseTable) {
    KVLocaleStrings::loadStringsFromLocalizableStringsAtPath(*files.baseTable, files.baseGroups);
  }
  if (!files.shown) return;
  const bool published = KVLocaleStrings::loadStringsFromPath(files.published, &files.shownGroups,
                                                              nullptr, KVStringStatusPublished);
  const bool pending =
      KVLocaleStrings::loadStringsFromPath(files.pending, &files.shownGroups, nullptr, 0);
  if (!published && !pending && files.packaged) {
    KVLocaleStrings::loadStringsFromPath(*files.packaged, &files.shownGroups, nullptr,
                                         KVStringStatusPublished);
  }
}

void KVMainController::publishFileStrings(FileStrings files) {
  if (const auto& shown = files.shown) {
    if (!files.shownGroups.empty()) shown->setLoadedStrings(std::move(files.shownGroups));
    // Edits read from the file join those already in memory; nothing to publish without one.
    KVStringGroups dirty = shown->dirtyStrings();
    if (KVLocaleStrings::loadStringsFromPath(shown->dirtyFilePath(), &dirty, nullptr, 0)) {
      shown->setDirtyStrings(std::move(dirty));
    }
    shown->loadDirtyStatuses();
  }
  if (files.base) files.base->setLoadedStrings(std::move(files.baseGroups));
  logLoadedStrings();
  reclaimRetired();
}

void KVMainController::loadStrings() {
  FileStrings files = fileStringsToRead();
  readFileStrings(files);
  publishFileStrings(std::move(files));
}

void KVMainController::loadStringsInBackground(std::function<void()> completion) {
  auto files = std::make_shared<FileStrings>(fileStringsToRead());
  runInBackground([files, completion = std::move(completion)] {
    readFileStrings(*files);
    Platform::current().mainQueue().post([files, completion] {
      KVMainController& controller = sharedInstance();
      if (controller.localeStrings() == files->shown &&
          controller.baseLocaleStrings() == files->base) {
        controller.publishFileStrings(std::move(*files));
      }
      if (completion) completion();
    });
  });
}

}  // namespace kolvane
