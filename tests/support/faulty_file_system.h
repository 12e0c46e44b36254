// A file system that forwards every call to the real one in the test's folder and fails the
// calls a test names, the way a full disk, a read-only mount or a vanished file would.
#pragma once

#include <mutex>
#include <set>
#include <string>
#include <string_view>

#include "kolvane/platform.h"
#include "platform/linux/posix_file_system.h"

namespace kolvane::testing {

class FaultyFileSystem : public FileSystem {
 public:
  enum class Call { fileExists, readFile, writeFileAtomically, writeFile, removeFile };

  // From now on `call` fails for paths ending in `pathSuffix` (every path when empty).
  void fail(Call call, std::string pathSuffix = "");
  void heal();

  bool fileExists(const std::string& path) const override;
  std::optional<std::string> readFile(const std::string& path) const override;
  bool writeFileAtomically(const std::string& path, std::string_view bytes) override;
  bool writeFile(const std::string& path, std::string_view bytes) override;
  bool removeFile(const std::string& path) override;
  std::optional<double> creationDate(const std::string& path) const override {
    return real_.creationDate(path);
  }
  std::optional<FileBytes> mapFile(const std::string& path) const override {
    if (fails(Call::readFile, path)) return std::nullopt;
    return real_.mapFile(path);
  }
  StringsFileResult readStringsFile(const std::string& path) const override {
    return real_.readStringsFile(path);
  }
  bool moveFile(const std::string& from, const std::string& to) override {
    return !fails(Call::writeFileAtomically, to) && real_.moveFile(from, to);
  }
  // The faults it injects stand for a full disk.
  FileWriteFailure lastWriteFailure() const override { return FileWriteFailure::diskFull; }

 private:
  bool fails(Call call, std::string_view path) const;

  PosixFileSystem real_;
  mutable std::mutex mutex_;
  std::set<std::pair<Call, std::string>> faults_;
};

}  // namespace kolvane::testing
