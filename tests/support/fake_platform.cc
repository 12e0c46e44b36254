#include "support/fake_platform.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "base/log.h"

namespace kolvane::testing {

void ManualMainQueue::post(std::function<void()> task) {
  std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
}

void ManualMainQueue::runAll() {
  while (true) {
    std::function<void()> task;
    {
      std::lock_guard lock(mutex_);
      if (tasks_.empty()) return;
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }
}

bool ManualMainQueue::runUntil(const std::function<bool()>& done, double seconds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    runAll();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

void ScriptedTransport::send(HttpRequest request, std::function<void(HttpResponse)> completion) {
  HttpResponse response;
  if (answer) {
    response = answer(request);
  } else {
    response.failure.emplace(7, "Could not connect to server");
  }
  sent.push_back(std::move(request));
  queue_.post([completion = std::move(completion), response] { completion(response); });
}

std::optional<nlohmann::json> MemoryUserDefaults::objectForKey(std::string_view key) const {
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return *found;
}

void MemoryUserDefaults::setObject(std::string_view key, nlohmann::json value) {
  values_[std::string(key)] = std::move(value);
}

void MemoryUserDefaults::removeObjectForKey(std::string_view key) {
  values_.erase(std::string(key));
}

bool MemoryUserDefaults::synchronize() {
  ++synchronizeCount;
  return true;
}

std::u16string MapBundle::platformLocalizedStringForKey(std::string_view key,
                                                        std::u16string_view value,
                                                        std::string_view table) const {
  const std::string name = table.empty() || table == "Localizable"
                               ? std::string(key)
                               : std::string(table) + "/" + std::string(key);
  if (const auto found = strings.find(name); found != strings.end()) return found->second;
  if (!value.empty()) return std::u16string(value);
  return std::u16string(key.begin(), key.end());
}

std::optional<std::string> MapBundle::infoString(std::string_view key) const {
  const auto found = info.find(std::string(key));
  if (found == info.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> MapBundle::pathForResource(std::string_view name, std::string_view type,
                                                      std::string_view localization) const {
  std::string resource = std::string(name) + "." + std::string(type);
  if (!localization.empty()) resource += "@" + std::string(localization);
  const auto found = resources.find(resource);
  if (found == resources.end()) return std::nullopt;
  return found->second;
}

void RecordingLogSink::writeLine(std::string_view line) {
  std::lock_guard lock(mutex_);
  lines_.emplace_back(line);
}

std::vector<std::string> RecordingLogSink::lines() const {
  std::lock_guard lock(mutex_);
  return lines_;
}

void PlatformTest::SetUp() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kolvane-test-XXXXXX").string();
  ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
  folder_ = pattern;
  platform_ = std::make_shared<FakePlatform>(folder_ + "/Documents");
  Platform::install(platform_);
  logSwitches().log = false;
  logSwitches().debug = false;
}

void PlatformTest::TearDown() {
  platform_->network.reset();  // stops a real transport's thread
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

}  // namespace kolvane::testing
