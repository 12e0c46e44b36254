// Filling the stores from their files, in place or with the reading on a worker thread.
#include <thread>

#include "base/log.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/published.h"
#include "core/table_images.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "strings/string_group.h"

namespace kolvane {

struct KVMainController::FileStrings {
  // Which stores and paths, fixed on the main thread before any reading.
  std::shared_ptr<KVLocaleStrings> shown;
  std::shared_ptr<KVLocaleStrings> base;
  std::optional<std::string> baseStringsFile;
  std::string published;
  std::string pending;
  std::optional<std::string> packaged;
  // What the reading found.
  std::shared_ptr<const KVStringTable> shownTable;
  std::shared_ptr<const KVStringTable> baseTable;
  // Tables read from their files rather than their images, by file: their images to write.
  std::vector<std::pair<std::string, std::shared_ptr<const KVStringTable>>> newImages;
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
    files.baseStringsFile = Platform::current().mainBundle().pathForResource(
        "Localizable", "strings", files.base->locale().localeIdentifier());
  }
  if (files.shown) {
    files.published = files.shown->publishedFilePath();
    files.pending = files.shown->pendingFilePath();
    files.packaged = files.shown->packagedFilePath();
  }
  return files;
}

namespace {

// The table of one file, noting it for an image when it was parsed.
std::shared_ptr<const KVStringTable> readTable(
    const std::string& path, KVTableReader reader, unsigned status, const KVTableRead& read,
    std::vector<std::pair<std::string, std::shared_ptr<const KVStringTable>>>& newImages) {
  KVFileTable found = kv_readFileTable(path, reader, status, read);
  if (found.table && !found.fromImage) newImages.emplace_back(path, found.table);
  return std::move(found.table);
}

// The later table's groups replace the earlier's, as reading both files into one map does.
std::shared_ptr<const KVStringTable> merged(const KVStringTable& earlier,
                                            const KVStringTable& later) {
  KVStringGroups groups;
  groups.reserve(earlier.groupCount() + later.groupCount());
  for (const KVStringTable* table : {&earlier, &later}) {
    for (std::uint32_t g = 0; g < table->groupCount(); ++g) {
      groups[std::string(table->keyAt(g))] = table->makeGroup(g);
    }
  }
  return KVStringTable::fromGroups(groups);
}

}  // namespace

void KVMainController::readFileStrings(FileStrings& files) {
  if (files.baseStringsFile) {
    const std::string& path = *files.baseStringsFile;
    files.baseTable = readTable(
        path, KVTableReader::stringsTable, KVStringStatusUntranslated,
        [&path](std::string_view,
                const KVStringTable::SourceStamp& stamp) -> std::shared_ptr<const KVStringTable> {
          KVStringGroups groups;
          if (!KVLocaleStrings::loadStringsFromLocalizableStringsAtPath(path, groups, true)) {
            return nullptr;
          }
          return KVStringTable::fromGroups(groups, stamp);
        },
        files.newImages);
  }
  if (!files.shown) return;
  const auto xliff = [&files](const std::string& path, unsigned status) {
    return readTable(
        path, KVTableReader::xliff, status,
        [&path, status](std::string_view bytes, const KVStringTable::SourceStamp& stamp) {
          return KVLocaleStrings::tableFromXliff(path, bytes, status, stamp);
        },
        files.newImages);
  };
  const auto published = xliff(files.published, KVStringStatusPublished);
  const auto pending = xliff(files.pending, KVStringStatusNone);
  if (published && pending) {
    files.shownTable = merged(*published, *pending);
  } else if (published || pending) {
    files.shownTable = published ? published : pending;
  } else if (files.packaged) {
    files.shownTable = xliff(*files.packaged, KVStringStatusPublished);
  }
}

void KVMainController::publishFileStrings(FileStrings files) {
  if (const auto& shown = files.shown) {
    if (files.shownTable && files.shownTable->groupCount() > 0) {
      shown->setLoadedTable(std::move(files.shownTable));
    }
    // Edits read from the file join those already in memory; nothing to publish without one.
    KVStringGroups dirty = shown->dirtyStrings();
    if (KVLocaleStrings::loadStringsFromPath(shown->dirtyFilePath(), &dirty, nullptr, 0)) {
      shown->setDirtyStrings(std::move(dirty));
    }
    shown->loadDirtyStatuses();
  }
  if (files.base) files.base->setLoadedTable(std::move(files.baseTable));
  logLoadedStrings();
  reclaimRetired();
}

void KVMainController::loadStrings() {
  FileStrings files = fileStringsToRead();
  readFileStrings(files);
  const auto newImages = files.newImages;
  publishFileStrings(std::move(files));
  for (const auto& [path, table] : newImages) kv_writeTableImage(path, *table);
}

void KVMainController::loadStringsInBackground(std::function<void()> completion) {
  auto files = std::make_shared<FileStrings>(fileStringsToRead());
  runInBackground([files, completion = std::move(completion)] {
    readFileStrings(*files);
    const auto newImages = files->newImages;
    Platform::current().mainQueue().post([files, completion] {
      KVMainController& controller = sharedInstance();
      if (controller.localeStrings() == files->shown &&
          controller.baseLocaleStrings() == files->base) {
        controller.publishFileStrings(std::move(*files));
      }
      if (completion) completion();
    });
    // The strings are on their way to the lookups; the images are for the next start.
    for (const auto& [path, table] : newImages) kv_writeTableImage(path, *table);
  });
}

}  // namespace kolvane
