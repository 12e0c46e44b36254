#include "kolvane/linux_platform.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>

#include "platform/linux/curl_transport.h"
#include "platform/linux/directory_bundle.h"
#include "platform/linux/glib_main_queue.h"
#include "platform/linux/icu_text_services.h"
#include "platform/linux/json_user_defaults.h"
#include "platform/linux/posix_file_system.h"
#include "platform/linux/secret_keychain.h"

namespace kolvane {
namespace {

class StderrLogSink : public LogSink {
 public:
  void writeLine(std::string_view line) override {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
  }
};

std::string environmentOr(const char* variable, const std::string& fallback) {
  const char* value = std::getenv(variable);
  return (value != nullptr && *value != '\0') ? std::string(value) : fallback;
}

std::string homeFolder() { return environmentOr("HOME", "/tmp"); }

std::string executableFolder() {
  std::error_code error;
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string(".") : executable.parent_path().string();
}

std::string bundlePathFor(const LinuxPlatformOptions& options) {
  return options.bundlePath.empty() ? environmentOr("KOLVANE_BUNDLE", executableFolder())
                                    : options.bundlePath;
}

LinuxPlatformPaths pathsFor(const LinuxPlatformOptions& options, const Bundle& bundle) {
  const std::string configHome = options.configHome.empty()
                                     ? environmentOr("XDG_CONFIG_HOME", homeFolder() + "/.config")
                                     : options.configHome;
  const std::string dataHome = options.dataHome.empty()
                                   ? environmentOr("XDG_DATA_HOME", homeFolder() + "/.local/share")
                                   : options.dataHome;
  return {configHome + "/" + bundle.bundleIdentifier() + "/defaults.json",
          dataHome + "/" + bundle.bundleIdentifier()};
}

class LinuxPlatform : public Platform {
 public:
  explicit LinuxPlatform(const LinuxPlatformOptions& options)
      : bundle_(bundlePathFor(options), options.defaultInfo),
        paths_(pathsFor(options, bundle_)),
        defaults_(paths_.userDefaultsFile),
        // The user id stands where an application-signing prefix would on other systems.
        keychain_(
            makeLinuxKeychain(paths_.documentsFolder + "/Kolvane/keychain.json",
                              std::to_string(::getuid()) + "." + bundle_.bundleIdentifier())) {}

  MainQueue& mainQueue() override { return mainQueue_; }
  UserDefaults& userDefaults() override { return defaults_; }
  FileSystem& fileSystem() override { return files_; }
  const TextServices& textServices() const override { return text_; }
  LogSink& logSink() override { return log_; }
  HttpTransport& httpTransport() override {
    // The transport's worker thread starts with the first request, not with the app.
    std::call_once(transportOnce_,
                   [this] { transport_ = std::make_unique<CurlTransport>(mainQueue_); });
    return *transport_;
  }
  Keychain& keychain() override { return *keychain_; }
  const Bundle& mainBundle() const override { return bundle_; }
  std::string documentsFolder() const override { return paths_.documentsFolder; }
  double now() const override {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(since).count();
  }
  std::string deviceName() const override {
    struct utsname name {};
    return ::uname(&name) == 0 ? std::string(name.machine) : std::string();
  }
  std::string systemVersion() const override {
    struct utsname name {};
    return ::uname(&name) == 0 ? std::string(name.release) : std::string();
  }

 private:
  DirectoryBundle bundle_;
  LinuxPlatformPaths paths_;
  GlibMainQueue mainQueue_;
  JsonUserDefaults defaults_;
  PosixFileSystem files_;
  IcuTextServices text_;
  StderrLogSink log_;
  std::unique_ptr<Keychain> keychain_;
  std::once_flag transportOnce_;
  std::unique_ptr<CurlTransport> transport_;
};

}  // namespace

std::shared_ptr<Platform> makeLinuxPlatform(const LinuxPlatformOptions& options) {
  return std::make_shared<LinuxPlatform>(options);
}

std::shared_ptr<Platform> Platform::makeDefault() { return makeLinuxPlatform(); }

LinuxPlatformPaths linuxPlatformPaths(const LinuxPlatformOptions& options) {
  return pathsFor(options, DirectoryBundle(bundlePathFor(options), options.defaultInfo));
}

std::shared_ptr<Bundle> makeDirectoryBundle(const std::string& path) {
  return std::make_shared<DirectoryBundle>(path);
}

}  // namespace kolvane
