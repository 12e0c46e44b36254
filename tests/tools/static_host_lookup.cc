// A host program that never calls into Kolvane: it only asks a bundle for its strings. Linked
// against the static library, its answers must still come back marked with cues, which
// proves the lookup hook was installed while the library loaded.
#include <cstdio>
#include <string>

#include "kolvane/linux_platform.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: static_host_lookup BUNDLE_DIR\n");
    return 2;
  }
  const auto bundle = kolvane::makeDirectoryBundle(argv[1]);
  const std::u16string text = bundle->localizedStringForKey("no.such.key", u"Plain", "");
  const std::u16string expected = u"\u200BPlain\u2062";
  if (text != expected) {
    std::fprintf(stderr, "lookup was not hooked: got %zu units, want %zu\n", text.size(),
                 expected.size());
    return 1;
  }
  std::puts("hooked");
  return 0;
}
