// The built-in platform for Linux desktops and servers: GLib's default main context as the
// main queue, a JSON defaults file in the XDG config folder, ICU for text and locales, and an
// application bundle laid out as a directory.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "kolvane/bundle.h"
#include "kolvane/export.h"
#include "kolvane/platform.h"

namespace kolvane {

struct LinuxPlatformOptions {
  // The app's bundle directory. Empty: $KOLVANE_BUNDLE, else the executable's folder.
  std::string bundlePath;
  // Where the defaults file and the documents folder live. Empty: $XDG_CONFIG_HOME (or
  // ~/.config) and $XDG_DATA_HOME (or ~/.local/share).
  std::string configHome;
  std::string dataHome;
  // Info values for an app without a bundle folder, or whose Info.plist lacks them:
  // "CFBundleIdentifier" (which names the app's settings and files folders),
  // "CFBundleName", "CFBundleShortVersionString", "CFBundleDevelopmentRegion". An Info.plist's
  // own values win.
  std::map<std::string, std::string> defaultInfo;
};

// Where the platform made from `options` keeps the user defaults file and the documents folder.
struct LinuxPlatformPaths {
  std::string userDefaultsFile;
  std::string documentsFolder;
};
KOLVANE_EXPORT LinuxPlatformPaths linuxPlatformPaths(const LinuxPlatformOptions& options);

// Example:
//   LinuxPlatformOptions options;
//   options.bundlePath = "/opt/myapp/MyApp.app";
//   Platform::install(makeLinuxPlatform(options));
KOLVANE_EXPORT std::shared_ptr<Platform> makeLinuxPlatform(
    const LinuxPlatformOptions& options = {});

// For hosts that run no GLib main loop of their own (command-line tools): runs the main
// queue's tasks until `done` holds or `seconds` pass; whether `done` held. Main thread.
KOLVANE_EXPORT bool runMainQueueUntil(const std::function<bool()>& done, double seconds);

// A bundle directory: Info.plist, <lang>.lproj/<table>.strings, resources such as fr_FR.xlf.
KOLVANE_EXPORT std::shared_ptr<Bundle> makeDirectoryBundle(const std::string& path);

}  // namespace kolvane
