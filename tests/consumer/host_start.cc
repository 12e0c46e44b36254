// A host that starts Kolvane with the public headers alone and looks a string up.
#include <kolvane/kolvane.h>
#include <kolvane/linux_platform.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: host_start BUNDLE_DIR HOME_DIR\n");
    return 2;
  }
  kolvane::LinuxPlatformOptions options;
  options.bundlePath = argv[1];
  options.configHome = std::string(argv[2]) + "/config";
  options.dataHome = std::string(argv[2]) + "/data";
  kolvane::Platform::install(kolvane::makeLinuxPlatform(options));
  kolvane::KolvaneSDK::startWithProjectId("demo", {{"logging", 0}});
  const std::u16string text =
      kolvane::Platform::current().mainBundle().localizedStringForKey("welcome.title", u"", "");
  if (text.empty() || text.front() != u'\u200B') {
    std::fprintf(stderr, "the lookup did not go through Kolvane\n");
    return 1;
  }
  std::puts("started");
  return 0;
}
