#include "core/persistence.h"

#include "base/log.h"
#include "kolvane/platform.h"

namespace kolvane {

void synchronizeDefaults() {
  if (!Platform::current().userDefaults().synchronize()) {
    kvLogIfEnabled("Could not save the user defaults; the previous ones are kept");
  }
}

void removeFileIfPresent(const std::string& path) {
  FileSystem& files = Platform::current().fileSystem();
  if (files.fileExists(path) && !files.removeFile(path)) {
    kvLogIfEnabled("Could not delete " + path);
  }
}

}  // namespace kolvane
