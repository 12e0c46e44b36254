// A deterministic platform for tests: a main queue run by hand, defaults in memory, a bundle
// from a map, log lines recorded, a fixed clock; real ICU text services and real files under
// a temporary folder.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "platform/linux/file_keychain.h"
#include "platform/linux/icu_text_services.h"
#include "platform/linux/posix_file_system.h"
#include "support/faulty_file_system.h"

namespace kolvane::testing {

class ManualMainQueue : public MainQueue {
 public:
  void post(std::function<void()> task) override;
  // Runs queued tasks, including those they queue, until none is left.
  void runAll();
  // Runs tasks as they arrive (from other threads too) until `done` holds or `seconds` pass;
  // whether `done` held.
  bool runUntil(const std::function<bool()>& done, double seconds = 10);

 private:
  mutable std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
};

class MemoryUserDefaults : public UserDefaults {
 public:
  std::optional<nlohmann::json> objectForKey(std::string_view key) const override;
  void setObject(std::string_view key, nlohmann::json value) override;
  void removeObjectForKey(std::string_view key) override;
  bool synchronize() override;
  int synchronizeCount = 0;

 private:
  nlohmann::json values_ = nlohmann::json::object();
};

class MapBundle : public Bundle {
 public:
  std::u16string platformLocalizedStringForKey(std::string_view key, std::u16string_view value,
                                               std::string_view table) const override;
  std::optional<std::string> infoString(std::string_view key) const override;
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type,
                                             std::string_view localization) const override;
  std::string bundleIdentifier() const override { return "com.example.tests"; }
  std::string bundlePath() const override { return "/nonexistent"; }

  std::map<std::string, std::u16string> strings;  // "table/key" or "key" for Localizable
  std::map<std::string, std::string> info;
  // "name.type" or "name.type@localization" to the path of that resource.
  std::map<std::string, std::string> resources;
};

class RecordingLogSink : public LogSink {
 public:
  void writeLine(std::string_view line) override;
  std::vector<std::string> lines() const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

// The file keychain in the test's folder, which a test can make unavailable: every call then
// fails, as with a locked or missing store.
class SwitchableKeychain : public Keychain {
 public:
  explicit SwitchableKeychain(std::string path)
      : file_(std::move(path), "SEED42.com.example.tests") {}
  KeychainStatus add(const KeychainQuery& query, std::string_view data) override {
    return unavailable ? KeychainStatus::failure : file_.add(query, data);
  }
  KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) override {
    return unavailable ? KeychainStatus::failure : file_.copyMatching(query, item);
  }
  KeychainStatus remove(const KeychainQuery& query) override {
    return unavailable ? KeychainStatus::failure : file_.remove(query);
  }
  bool unavailable = false;

 private:
  FileKeychain file_;
};

// Answers requests from `answer` on the main queue and keeps what was sent. Without an
// answer every exchange fails as with no network.
class ScriptedTransport : public HttpTransport {
 public:
  explicit ScriptedTransport(MainQueue& queue) : queue_(queue) {}
  void send(HttpRequest request, std::function<void(HttpResponse)> completion) override;
  std::function<HttpResponse(const HttpRequest&)> answer;
  std::vector<HttpRequest> sent;

 private:
  MainQueue& queue_;
};

class FakePlatform : public Platform {
 public:
  explicit FakePlatform(std::string documents)
      : keychainStore(documents + "/Kolvane/keychain.json"), documents_(std::move(documents)) {}
  MainQueue& mainQueue() override { return queue; }
  UserDefaults& userDefaults() override { return defaults; }
  FileSystem& fileSystem() override { return files; }
  const TextServices& textServices() const override { return text; }
  LogSink& logSink() override { return log; }
  HttpTransport& httpTransport() override { return network ? *network : transport; }
  Keychain& keychain() override { return keychainStore; }
  const Bundle& mainBundle() const override { return bundle; }
  std::string documentsFolder() const override { return documents_; }
  double now() const override { return clock.load(); }
  std::string deviceName() const override { return "test-device"; }
  std::string systemVersion() const override { return "6.1-test"; }

  ManualMainQueue queue;
  MemoryUserDefaults defaults;
  FaultyFileSystem files;
  IcuTextServices text;
  RecordingLogSink log;
  MapBundle bundle;
  ScriptedTransport transport{queue};
  std::unique_ptr<HttpTransport> network;  // when set, used in place of `transport`
  SwitchableKeychain keychainStore;
  std::atomic<double> clock{1'700'000'000};  // read on the analytics queue too

 private:
  std::string documents_;
};

// Installs a fresh FakePlatform in a fresh temporary folder.
class PlatformTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  FakePlatform& platform() { return *platform_; }
  const std::string& folder() const { return folder_; }

 private:
  std::shared_ptr<FakePlatform> platform_;
  std::string folder_;
};

}  // namespace kolvane::testing
