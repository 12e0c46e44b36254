#include "platform/linux/posix_file_system.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "platform/linux/property_list.h"

namespace kolvane {
namespace {

bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

void syncFolder(const std::string& folder) {
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

// A temporary file this old was left by a write that never finished (the process was killed):
// no write takes a minute.
constexpr auto kStaleTemporaryAge = std::chrono::minutes(1);

void removeStaleTemporaries(const std::filesystem::path& target) {
  const std::string prefix = target.filename().string() + ".tmp-";
  std::error_code error;
  const auto now = std::filesystem::file_time_type::clock::now();
  for (const auto& entry : std::filesystem::directory_iterator(
           target.has_parent_path() ? target.parent_path() : ".", error)) {
    const std::string name = entry.path().filename().string();
    if (name.size() != prefix.size() + 6 || name.rfind(prefix, 0) != 0) continue;
    const auto written = entry.last_write_time(error);
    if (!error && now - written > kStaleTemporaryAge) std::filesystem::remove(entry.path(), error);
  }
}

}  // namespace

bool makeFolders(const std::string& folder) {
  if (folder.empty()) return true;
  struct stat info {};
  if (::stat(folder.c_str(), &info) == 0) return S_ISDIR(info.st_mode);
  const std::string parent = std::filesystem::path(folder).parent_path().string();
  if (parent != folder && !makeFolders(parent)) return false;
  // The app's settings, files and keychain: the user's alone.
  return ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

bool writeFileAtomically(const std::string& path, std::string_view bytes) {
  const std::filesystem::path target(path);
  const std::string folder = target.parent_path().string();
  if (!makeFolders(folder)) return false;
  removeStaleTemporaries(target);

  std::string temporary = path + ".tmp-XXXXXX";
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) return false;
  const bool written = writeAll(fd, bytes) && ::fsync(fd) == 0;
  const bool closed = ::close(fd) == 0;
  if (!written || !closed || ::rename(temporary.c_str(), path.c_str()) != 0) {
    ::unlink(temporary.c_str());
    return false;
  }
  syncFolder(folder);
  return true;
}

bool setAsideDamagedFile(const std::string& path) {
  return std::rename(path.c_str(), (path + ".damaged").c_str()) == 0;
}

std::optional<std::string> readWholeFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  struct stat info {};
  const std::size_t expected =
      ::fstat(fd, &info) == 0 && info.st_size > 0 ? static_cast<std::size_t>(info.st_size) : 0;
  // Read straight into the string, sized from the file; grow if the file grew meanwhile.
  std::string contents(expected + 1, '\0');
  std::size_t length = 0;
  while (true) {
    if (length == contents.size()) contents.resize(contents.size() * 2 + 4096);
    const ssize_t got = ::read(fd, contents.data() + length, contents.size() - length);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      ::close(fd);
      return std::nullopt;
    }
    if (got == 0) break;
    length += static_cast<std::size_t>(got);
  }
  contents.resize(length);
  ::close(fd);
  return contents;
}

bool PosixFileSystem::fileExists(const std::string& path) const {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

std::optional<std::string> PosixFileSystem::readFile(const std::string& path) const {
  return readWholeFile(path);
}

namespace {

// The errno of the calling thread's last failed write, kept apart from errno so that calls in
// between (logging, cleanup) do not lose it.
thread_local int tLastWriteErrno = 0;

bool keepingErrno(bool succeeded) {
  if (!succeeded) tLastWriteErrno = errno;
  return succeeded;
}

}  // namespace

bool PosixFileSystem::writeFileAtomically(const std::string& path, std::string_view bytes) {
  errno = 0;
  return keepingErrno(kolvane::writeFileAtomically(path, bytes));
}

bool PosixFileSystem::moveFile(const std::string& from, const std::string& to) {
  errno = 0;
  if (!keepingErrno(::rename(from.c_str(), to.c_str()) == 0)) return false;
  syncFolder(std::filesystem::path(to).parent_path().string());
  return true;
}

std::optional<FileBytes> PosixFileSystem::mapFile(const std::string& path) const {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size <= 0) {
    ::close(fd);
    return info.st_size == 0 ? std::optional<FileBytes>(FileBytes{}) : std::nullopt;
  }
  const auto size = static_cast<std::size_t>(info.st_size);
  void* mapped = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
  ::close(fd);
  if (mapped == MAP_FAILED) return std::nullopt;
  std::shared_ptr<const void> owner(
      mapped, [size](const void* at) { ::munmap(const_cast<void*>(at), size); });
  return FileBytes{std::move(owner), std::string_view(static_cast<const char*>(mapped), size)};
}

FileWriteFailure PosixFileSystem::lastWriteFailure() const {
  switch (tLastWriteErrno) {
    case ENOSPC:
    case EDQUOT:
      return FileWriteFailure::diskFull;
    case EROFS:
    case EACCES:
    case EPERM:
      return FileWriteFailure::notWritable;
    default:
      return FileWriteFailure::unknown;
  }
}

bool PosixFileSystem::writeFile(const std::string& path, std::string_view bytes) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  if (!makeFolders(folder)) return false;
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  const bool written = writeAll(fd, bytes);
  return ::close(fd) == 0 && written;
}

bool PosixFileSystem::removeFile(const std::string& path) {
  return keepingErrno(::unlink(path.c_str()) == 0);
}

std::optional<double> PosixFileSystem::creationDate(const std::string& path) const {
  struct statx info {};
  if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME | STATX_MTIME, &info) != 0) {
    return std::nullopt;
  }
  const statx_timestamp& stamp = (info.stx_mask & STATX_BTIME) ? info.stx_btime : info.stx_mtime;
  return static_cast<double>(stamp.tv_sec) + stamp.tv_nsec / 1e9;
}

StringsFileResult PosixFileSystem::readStringsFile(const std::string& path) const {
  const auto bytes = readWholeFile(path);
  if (!bytes) return StringsFileError{"cannot read " + path};
  return readStringsTable(*bytes);
}

}  // namespace kolvane
