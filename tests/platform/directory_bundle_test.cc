#include "platform/linux/directory_bundle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "kolvane/linux_platform.h"
#include "platform/linux/posix_file_system.h"
#include "support/fake_platform.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;

class DirectoryBundleTest : public testing::PlatformTest {
 protected:
  void SetUp() override {
    testing::PlatformTest::SetUp();
    root_ = folder() + "/App.app";
    write("Info.plist",
          "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
          "<key>CFBundleIdentifier</key><string>com.example.app</string>"
          "<key>CFBundleDevelopmentRegion</key><string>en</string></dict></plist>");
    write("en.lproj/Localizable.strings", "\"hello\" = \"Hello\";");
    write("en.lproj/Menu.strings", "\"open\" = \"Open\";");
    write("fr.lproj/Localizable.strings", "\"hello\" = \"Bonjour\";");
    write("pt_BR.lproj/Localizable.strings", "\"hello\" = \"Olá\";");
    write("de.lproj/Localizable.strings", "\"hello\" = \"Hallo\"\n\"broken\"");
    write("fr_FR.xlf", "<xliff/>");
    for (const char* variable : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
      if (const char* value = std::getenv(variable)) saved_.emplace_back(variable, value);
      ::unsetenv(variable);
    }
  }
  void TearDown() override {
    for (const char* variable : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) ::unsetenv(variable);
    for (const auto& [name, value] : saved_) ::setenv(name.c_str(), value.c_str(), 1);
    testing::PlatformTest::TearDown();
  }
  void write(const std::string& name, const std::string& bytes) {
    ASSERT_TRUE(writeFileAtomically(root_ + "/" + name, bytes));
  }
  std::u16string lookup(std::string_view key, std::u16string_view value = u"",
                        std::string_view table = "") {
    return DirectoryBundle(root_).platformLocalizedStringForKey(key, value, table);
  }

  std::string root_;
  std::vector<std::pair<std::string, std::string>> saved_;
};

TEST_F(DirectoryBundleTest, ProcessLanguageChoosesTheLocalization) {
  ::setenv("LANG", "fr_FR.UTF-8", 1);
  EXPECT_EQ(lookup("hello"), u"Bonjour");
  ::setenv("LANGUAGE", "pt_BR:fr", 1);
  EXPECT_EQ(lookup("hello"), u"Olá");
  ::setenv("LC_ALL", "C", 1);
  ::setenv("LANGUAGE", "", 1);
  EXPECT_EQ(lookup("hello"), u"Hello");  // "C" names no language: the development region
  ::setenv("LC_ALL", "ja_JP.UTF-8", 1);
  EXPECT_EQ(lookup("hello"), u"Hello");
}

TEST_F(DirectoryBundleTest, MissingKeysAnswerTheValueOrTheKey) {
  EXPECT_EQ(lookup("hello"), u"Hello");
  EXPECT_EQ(lookup("nope", u"Default"), u"Default");
  EXPECT_EQ(lookup("nope"), u"nope");
  EXPECT_EQ(lookup("open", u"", "Menu"), u"Open");
  EXPECT_EQ(lookup("open", u"", "Missing"), u"open");
  EXPECT_EQ(lookup("open", u"", "../en.lproj/Menu"), u"open");
}

TEST_F(DirectoryBundleTest, ADamagedTableAnswersLikeAMissingOne) {
  ::setenv("LANG", "de_DE", 1);
  EXPECT_EQ(lookup("hello", u"Fallback"), u"Fallback");
}

TEST_F(DirectoryBundleTest, InfoValuesAndResources) {
  const DirectoryBundle bundle(root_);
  EXPECT_EQ(bundle.bundleIdentifier(), "com.example.app");
  EXPECT_EQ(bundle.infoString("CFBundleDevelopmentRegion"), "en");
  EXPECT_EQ(bundle.infoString("Missing"), std::nullopt);
  EXPECT_EQ(bundle.pathForResource("fr_FR", "xlf", ""), root_ + "/fr_FR.xlf");
  EXPECT_EQ(bundle.pathForResource("Localizable", "strings", "fr"),
            root_ + "/fr.lproj/Localizable.strings");
  EXPECT_EQ(bundle.pathForResource("Localizable", "strings", "xx"), std::nullopt);
  EXPECT_EQ(bundle.pathForResource("de_DE", "xlf", ""), std::nullopt);
}

TEST_F(DirectoryBundleTest, ABundleWithoutInfoIsNamedAfterItsFolder) {
  std::filesystem::remove(root_ + "/Info.plist");
  EXPECT_EQ(DirectoryBundle(root_).bundleIdentifier(), "App.app");
  // An identifier that would lead the settings and files folders elsewhere is not used.
  for (const char* escaping : {"../../elsewhere", "a/b", "..", "."}) {
    std::ofstream(root_ + "/Info.plist") << "<plist><dict><key>CFBundleIdentifier</key><string>"
                                         << escaping << "</string></dict></plist>";
    EXPECT_EQ(DirectoryBundle(root_).bundleIdentifier(), "App.app") << escaping;
  }
  EXPECT_EQ(DirectoryBundle(folder() + "/missing").platformLocalizedStringForKey("k", u"", ""),
            u"k");
}

TEST_F(DirectoryBundleTest, DefaultInfoNamesAnAppWithoutInfoAndLosesToItsInfoPlist) {
  const std::map<std::string, std::string> defaults{{"CFBundleIdentifier", "org.example.Mail"},
                                                    {"CFBundleShortVersionString", "2.1"},
                                                    {"CFBundleDevelopmentRegion", "de"}};
  EXPECT_EQ(DirectoryBundle(root_, defaults).bundleIdentifier(), "com.example.app");
  EXPECT_EQ(DirectoryBundle(root_, defaults).infoString("CFBundleShortVersionString"), "2.1");
  EXPECT_EQ(DirectoryBundle(root_, defaults).infoString("CFBundleDevelopmentRegion"), "en");
  std::filesystem::remove(root_ + "/Info.plist");
  const DirectoryBundle bare(root_, defaults);
  EXPECT_EQ(bare.bundleIdentifier(), "org.example.Mail");
  EXPECT_EQ(bare.infoString("CFBundleDevelopmentRegion"), "de");
  LinuxPlatformOptions options;
  options.bundlePath = root_;
  options.configHome = folder() + "/config";
  options.dataHome = folder() + "/data";
  options.defaultInfo = defaults;
  EXPECT_EQ(linuxPlatformPaths(options).documentsFolder, folder() + "/data/org.example.Mail");
}

TEST(BestLocalizationTest, ExactThenHyphenatedThenLanguage) {
  const std::vector<std::string> available = {"en", "fr", "zh-Hans", "pt_BR"};
  EXPECT_EQ(bestLocalization(available, {"pt_BR.UTF-8"}, "en"), "pt_BR");
  EXPECT_EQ(bestLocalization(available, {"zh_Hans"}, "en"), "zh-Hans");
  EXPECT_EQ(bestLocalization(available, {"fr_CA@euro"}, "en"), "fr");
  EXPECT_EQ(bestLocalization(available, {"POSIX", "de"}, "en"), "en");
  EXPECT_EQ(bestLocalization(available, {}, "xx"), "");
}

}  // namespace
}  // namespace kolvane
