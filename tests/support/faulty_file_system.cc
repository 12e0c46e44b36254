#include "support/faulty_file_system.h"

namespace kolvane::testing {

void FaultyFileSystem::fail(Call call, std::string pathSuffix) {
  std::lock_guard lock(mutex_);
  faults_.emplace(call, std::move(pathSuffix));
}

void FaultyFileSystem::heal() {
  std::lock_guard lock(mutex_);
  faults_.clear();
}

bool FaultyFileSystem::fails(Call call, std::string_view path) const {
  std::lock_guard lock(mutex_);
  for (const auto& [failing, suffix] : faults_) {
    if (failing == call && path.ends_with(suffix)) return true;
  }
  return false;
}

bool FaultyFileSystem::fileExists(const std::string& path) const {
  return !fails(Call::fileExists, path) && real_.fileExists(path);
}

std::optional<std::string> FaultyFileSystem::readFile(const std::string& path) const {
  if (fails(Call::readFile, path)) return std::nullopt;
  return real_.readFile(path);
}

bool FaultyFileSystem::writeFileAtomically(const std::string& path, std::string_view bytes) {
  return !fails(Call::writeFileAtomically, path) && real_.writeFileAtomically(path, bytes);
}

bool FaultyFileSystem::writeFile(const std::string& path, std::string_view bytes) {
  return !fails(Call::writeFile, path) && real_.writeFile(path, bytes);
}

bool FaultyFileSystem::removeFile(const std::string& path) {
  return !fails(Call::removeFile, path) && real_.removeFile(path);
}

}  // namespace kolvane::testing
