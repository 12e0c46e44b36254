// Files through POSIX calls, with EINTR retried here so callers never see it. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kolvane/platform.h"

namespace kolvane {

// Writes a temporary file beside `path`, flushes it to disk and renames it over `path`, so a
// crash leaves the old file or the new one, never a mix. Creates missing parent folders (mode
// 0700) and removes temporary files of this path that a killed write left behind.
bool writeFileAtomically(const std::string& path, std::string_view bytes);
// Creates the folder and its missing parents, each readable by the user alone.
bool makeFolders(const std::string& folder);
// Moves a file that could not be read as what it should be to `path` + ".damaged", so that a
// fresh one can take its place and the old contents stay for whoever wants to look at them.
bool setAsideDamagedFile(const std::string& path);
std::optional<std::string> readWholeFile(const std::string& path);

class PosixFileSystem : public FileSystem {
 public:
  bool fileExists(const std::string& path) const override;
  std::optional<std::string> readFile(const std::string& path) const override;
  bool writeFileAtomically(const std::string& path, std::string_view bytes) override;
  bool writeFile(const std::string& path, std::string_view bytes) override;
  bool removeFile(const std::string& path) override;
  std::optional<double> creationDate(const std::string& path) const override;
  StringsFileResult readStringsFile(const std::string& path) const override;
  bool moveFile(const std::string& from, const std::string& to) override;
  FileWriteFailure lastWriteFailure() const override;
  std::optional<FileBytes> mapFile(const std::string& path) const override;
};

}  // namespace kolvane
