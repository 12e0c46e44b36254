#include "kolvane/platform.h"

#include <algorithm>
#include <atomic>
#include <cctype>
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
