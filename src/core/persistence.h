// Saving that cannot be retried where it happens: the failure is logged (with `log` on), never
// dropped in silence. Main thread.
#pragma once

#include <string>

namespace kolvane {

// Writes the user defaults to disk now.
void synchronizeDefaults();
// Removes the file when it is there.
void removeFileIfPresent(const std::string& path);

}  // namespace kolvane
