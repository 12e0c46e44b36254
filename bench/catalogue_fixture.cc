#include "catalogue_fixture.h"

#include <libintl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>

#include "base/utf.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "kolvane/kolvane.h"
#include "kolvane/linux_platform.h"
#include "strings/cues.h"

namespace kolvane::bench {
namespace {

std::string text(const char* kind, int i) {
  return std::string(kind) + " text number " + std::to_string(i) + " for %@ with some words";
}

void write(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string xliffOf(const Catalogue& c) {
  std::string body;
  for (int i = 0; i < c.size; ++i) {
    const std::string key = c.shownKeys[i];
    std::string target = text("Shown", i);
    target.replace(target.find("%@"), 2, "<ph id=\"1\" ctype=\"x-kolvane-placeholder\">%@</ph>");
    body += "<trans-unit id=\"" + std::to_string(i) + "\" resname=\"" + key +
            "\">\n<source>src</source>\n<target>" + target + "</target>\n</trans-unit>\n";
  }
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff version=\"1.2\"><file><body>\n" +
         body + "</body></file></xliff>";
}

std::string stringsOf(const std::vector<std::string>& keys, const char* kind) {
  std::string table;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    table += "\"" + keys[i] + "\" = \"" + text(kind, static_cast<int>(i)) + "\";\n";
  }
  return table;
}

// A gettext catalogue of the shown strings, compiled with msgfmt, for dgettext to answer from.
bool prepareGettext(const Catalogue& c) {
  std::string po = "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n\n";
  for (int i = 0; i < c.size; ++i) {
    po += "msgid \"" + c.shownKeys[i] + "\"\nmsgstr \"" + text("Shown", i) + "\"\n\n";
  }
  const std::string domain = "kvbench" + std::to_string(c.size);
  write(c.folder + "/bench.po", po);
  const std::string mo = c.folder + "/locale/xx/LC_MESSAGES/" + domain + ".mo";
  std::filesystem::create_directories(std::filesystem::path(mo).parent_path());
  const std::string command = "msgfmt -o '" + mo + "' '" + c.folder + "/bench.po'";
  if (std::system(command.c_str()) != 0) return false;
  // gettext translates only outside the "C" locale, and then honours LANGUAGE.
  if (!std::setlocale(LC_ALL, "C.UTF-8")) return false;
  ::setenv("LANGUAGE", "xx", 1);
  bindtextdomain(domain.c_str(), (c.folder + "/locale").c_str());
  bind_textdomain_codeset(domain.c_str(), "UTF-8");
  return std::string(dgettext(domain.c_str(), c.shownKeys[0].c_str())) == text("Shown", 0);
}

std::unique_ptr<Catalogue> makeCatalogue(int size) {
  auto c = std::make_unique<Catalogue>();
  c->size = size;
  char pattern[] = "/tmp/kolvane-bench-XXXXXX";
  c->folder = ::mkdtemp(pattern);
  for (int i = 0; i < size; ++i) {
    c->shownKeys.push_back("screen" + std::to_string(i % 97) + ".label." + std::to_string(i));
    c->baseKeys.push_back("base.only." + std::to_string(i));
    c->bundleKeys.push_back("bundle.only." + std::to_string(i));
    const std::u16string marked = kv_stringWithCues(toUtf16(text("Shown", i)));
    c->shownTexts.push_back(marked);
    c->shownHashes.push_back(kv_enumerateCuesUsingBlock(
        marked, [](std::u16string_view) { return std::optional<std::u16string>(u""); }));
  }
  c->order.resize(size);
  for (int i = 0; i < size; ++i) c->order[i] = i;
  std::shuffle(c->order.begin(), c->order.end(), std::mt19937(42));

  const std::string bundle = c->folder + "/Bench.app";
  write(bundle + "/Info.plist",
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
        "<string>com.kolvane.bench</string><key>CFBundleDevelopmentRegion</key>"
        "<string>en</string></dict></plist>");
  write(bundle + "/en.lproj/Localizable.strings", stringsOf(c->baseKeys, "Base"));
  write(bundle + "/en.lproj/Bundle.strings", stringsOf(c->bundleKeys, "Bundle"));
  c->publishedBytes = xliffOf(*c);
  c->publishedFile = c->folder + "/data/com.kolvane.bench/Kolvane/fr_FR_published.xlf";
  write(c->publishedFile, c->publishedBytes);
  c->gettextReady = prepareGettext(*c);
  if (!c->gettextReady) std::fprintf(stderr, "dgettext baseline unavailable\n");
  return c;
}

}  // namespace

const Catalogue& catalogue(int size) {
  static std::map<int, std::unique_ptr<Catalogue>> made;
  auto& entry = made[size];
  if (!entry) entry = makeCatalogue(size);
  return *entry;
}

KVFileTable readPublishedTable(const Catalogue& c) {
  return kv_readFileTable(c.publishedFile, KVTableReader::xliff, KVStringStatusPublished,
                          [&c](std::string_view bytes, const KVStringTable::SourceStamp& stamp) {
                            return KVLocaleStrings::tableFromXliff(c.publishedFile, bytes,
                                                                   KVStringStatusPublished, stamp);
                          });
}

void startKolvaneOn(const Catalogue& c) {
  LinuxPlatformOptions options;
  options.bundlePath = c.folder + "/Bench.app";
  options.configHome = c.folder + "/config";
  options.dataHome = c.folder + "/data";
  Platform::install(makeLinuxPlatform(options));
  Platform::current().userDefaults().setObject("KVLocale", "fr_FR");
  KVMainController::sharedInstance().resetForTesting();
  KolvaneSDK::startWithProjectId("bench");
}

}  // namespace kolvane::bench
