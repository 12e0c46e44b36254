#include "kolvane/platform.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>
#include <ctime>
#include <mutex>

#include "base/log.h"

namespace kolvane {
namespace {

// The installed platform is read on every thread, replaced only before start-up. Replaced
// platforms are kept alive so that a reference handed out earlier never dangles.
std::atomic<Platform*> gCurrent{nullptr};
std::mutex gInstallMutex;

void writeToPlatformLog(std::string_view line) { Platform::current().logSink().writeLine(line); }

// The log of the lower layers reaches the platform's sink from the moment the library loads.
[[maybe_unused]] const bool kLogRouted = (setLogLineWriter(&writeToPlatformLog), true);

std::vector<std::shared_ptr<Platform>>& keptPlatforms() {
  // Never destroyed: threads of the runtime may still use a platform while the process exits.
  static auto* platforms = new std::vector<std::shared_ptr<Platform>>;
  return *platforms;
}

}  // namespace

std::optional<FileBytes> FileSystem::mapFile(const std::string& path) const {
  auto bytes = readFile(path);
  if (!bytes) return std::nullopt;
  auto owner = std::make_shared<const std::string>(std::move(*bytes));
  const std::string_view view(*owner);
  return FileBytes{std::move(owner), view};
}

bool FileSystem::moveFile(const std::string& from, const std::string& to) {
  const auto bytes = readFile(from);
  return bytes && writeFileAtomically(to, *bytes) && removeFile(from);
}

std::u16string TextServices::shortDateTime(double secondsSince1970) const {
  // Beyond some 30,000 years a time_t cannot hold it.
  if (!std::isfinite(secondsSince1970) || std::fabs(secondsSince1970) > 1e12) return {};
  const auto moment = static_cast<std::time_t>(secondsSince1970);
  std::tm local{};
  if (localtime_r(&moment, &local) == nullptr) return {};
  char text[32];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &local);
  return std::u16string(text, text + length);
}

Platform& Platform::current() {
  if (Platform* platform = gCurrent.load(std::memory_order_acquire)) return *platform;
  std::lock_guard lock(gInstallMutex);
  if (Platform* platform = gCurrent.load(std::memory_order_acquire)) return *platform;
  auto made = makeDefault();
  keptPlatforms().push_back(made);
  gCurrent.store(made.get(), std::memory_order_release);
  return *made;
}

void Platform::install(std::shared_ptr<Platform> platform) {
  if (!platform) return;
  std::lock_guard lock(gInstallMutex);
  keptPlatforms().push_back(platform);
  gCurrent.store(platform.get(), std::memory_order_release);
}

bool sameHeaderName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
    return std::tolower(x) == std::tolower(y);
  });
}

void HttpRequest::setHeader(std::string name, std::string value) {
  const auto found = std::find_if(headers.begin(), headers.end(), [&name](const auto& header) {
    return sameHeaderName(header.first, name);
  });
  if (found != headers.end()) {
    found->second = std::move(value);
    return;
  }
  headers.emplace_back(std::move(name), std::move(value));
}

}  // namespace kolvane
