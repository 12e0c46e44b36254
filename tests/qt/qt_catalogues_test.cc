// A Qt app's own Linguist catalogues under Kolvane: every answer what Qt's own translator
// gives, and traceable.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>
#include <fstream>
#include <string>
#include <vector>

#include "capture/capture_fixture.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "kolvane/cues.h"
#include "kolvane/lookup.h"
#include "kolvane/qt.h"
#include "qt/linguist_catalogue.h"
#include "qt_start.h"
#include "support/core_fixture.h"

namespace kolvane {
namespace {

using testing::LinguistCatalogue;
using testing::LinguistMessage;

const char* disambiguationOf(const LinguistMessage& message) {
  return message.disambiguation.empty() ? nullptr : message.disambiguation.c_str();
}

// Every message's answer, numerus messages for every count from 0 to 1,000.
std::vector<QString> answersTo(const LinguistCatalogue& catalogue) {
  std::vector<QString> answers;
  for (const LinguistMessage& message : catalogue.messages) {
    const char* context = message.context.c_str();
    const char* source = message.source.c_str();
    if (!message.numerus) {
      answers.push_back(QCoreApplication::translate(context, source, disambiguationOf(message)));
      continue;
    }
    for (int n = 0; n <= 1000; ++n) {
      answers.push_back(QCoreApplication::translate(context, source, disambiguationOf(message), n));
    }
  }
  return answers;
}

class LinguistCataloguesTest : public testing::CoreTest {
 protected:
  void TearDown() override {
    KolvaneQt::uninstall();
    testing::CoreTest::TearDown();
  }
  std::string compile(const LinguistCatalogue& catalogue) {
    return testing::compileLinguistCatalogue(catalogue, KOLVANE_LRELEASE, folder(),
                                             catalogue.language);
  }
};

TEST_F(LinguistCataloguesTest, EveryMessageAnswersAsQtsOwnTranslatorAndIsTraceable) {
  for (const std::string language : {"ru", "pl", "ar", "ja"}) {
    SCOPED_TRACE(language);
    const LinguistCatalogue catalogue = testing::makeLinguistCatalogue(language, 24, 480);
    QTranslator own;
    ASSERT_TRUE(own.load(QString::fromStdString(compile(catalogue))));
    QCoreApplication::installTranslator(&own);
    const std::vector<QString> expected = answersTo(catalogue);
    QCoreApplication::removeTranslator(&own);

    ASSERT_TRUE(KolvaneQt::installTranslator(&own));
    const std::vector<QString> answered = answersTo(catalogue);
    ASSERT_EQ(answered.size(), expected.size());
    std::size_t different = 0;
    std::size_t untraceable = 0;
    for (std::size_t i = 0; i < answered.size(); ++i) {
      const std::u16string text = answered[i].toStdU16String();
      if (QString::fromStdU16String(kv_stringByRemovingCues(text)) != expected[i]) ++different;
      if (text.empty() || text.front() != kv_beginCue || text.back() != kv_endCue ||
          !KVMainController::sharedInstance().kolvaneStringWithNonNestedString(text, nullptr)) {
        ++untraceable;
      }
    }
    EXPECT_EQ(different, 0u);
    EXPECT_EQ(untraceable, 0u);
    KolvaneQt::uninstall();
    QCoreApplication::removeTranslator(&own);
    KolvaneQt::removeTranslator(&own);
  }
}

TEST_F(LinguistCataloguesTest, TheDevServerGivesBackCataloguesThatAnswerAsTheOriginals) {
  std::string imports;
  std::vector<LinguistCatalogue> catalogues;
  // Qt's forms of Macedonian, Welsh, Filipino and Latvian do not map one to one onto CLDR's
  // categories: what the units cannot hold comes back as it was.
  for (const std::string language : {"ru", "pl", "ar", "ja", "mk", "cy", "fil", "lv"}) {
    catalogues.push_back(testing::makeLinguistCatalogue(language, 12, 240));
    ASSERT_FALSE(compile(catalogues.back()).empty());
    imports += " --import '" + folder() + "/" + language + ".ts'";
  }
  for (const LinguistCatalogue& catalogue : catalogues) {
    SCOPED_TRACE(catalogue.language);
    const std::string exported = folder() + "/exported_" + catalogue.language;
    const std::string command = std::string("'") + KOLVANE_DEVSERVER + "'" + imports +
                                " --export-ts " + catalogue.language + " > '" + exported + ".ts'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    ASSERT_EQ(std::system((std::string("'") + KOLVANE_LRELEASE + "' -silent '" + exported +
                           ".ts' -qm '" + exported + ".qm'")
                              .c_str()),
              0);
    QTranslator original;
    QTranslator roundTripped;
    ASSERT_TRUE(original.load(QString::fromStdString(folder() + "/" + catalogue.language + ".qm")));
    ASSERT_TRUE(roundTripped.load(QString::fromStdString(exported + ".qm")));
    QCoreApplication::installTranslator(&original);
    const std::vector<QString> expected = answersTo(catalogue);
    QCoreApplication::removeTranslator(&original);
    QCoreApplication::installTranslator(&roundTripped);
    const std::vector<QString> answered = answersTo(catalogue);
    QCoreApplication::removeTranslator(&roundTripped);
    std::size_t different = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) different += answered[i] != expected[i];
    EXPECT_EQ(different, 0u);
  }
}

TEST_F(LinguistCataloguesTest, TheDevServerRefusesCataloguesItCannotKeepApart) {
  const auto import = [this](const std::string& language, const std::string& sourceLanguage) {
    const std::string path = folder() + "/odd.ts";
    std::ofstream(path) << "<TS language=\"" << language << "\" sourcelanguage=\"" << sourceLanguage
                        << "\"><context><name>C</name></context></TS>";
    const std::string command = std::string("'") + KOLVANE_DEVSERVER + "' --import '" + path +
                                "' --export-ts fr > /dev/null 2>&1";
    return std::system(command.c_str());
  };
  EXPECT_EQ(import("fr", "en"), 0);
  EXPECT_NE(import("../../fr", "en"), 0);  // a locale id that would leave the server's paths
  EXPECT_NE(import("fr", "en/x"), 0);
  EXPECT_NE(import("", "en"), 0);
  EXPECT_NE(import("en", "en"), 0);  // a catalogue of the source language itself
}

TEST_F(LinguistCataloguesTest, KolvanesStoresAnswerFirstByKeyWithItsDisambiguation) {
  const LinguistCatalogue catalogue = testing::makeLinguistCatalogue("ru", 2, 14);
  QTranslator own;
  ASSERT_TRUE(own.load(QString::fromStdString(compile(catalogue))));
  KolvaneQt::installTranslator(&own);
  const LinguistMessage& twin = catalogue.messages[4];  // the comment "verb"
  ASSERT_EQ(twin.disambiguation, "verb");
  const QString appAnswer =
      QCoreApplication::translate(twin.context.c_str(), twin.source.c_str(), "verb");

  auto shown = KVLocaleStrings::localeStringsForLocale(Locale("ru"));
  shown->setLoadedStrings(
      testing::groupsOf({{KolvaneMessageKey(twin.source, "verb"), u"Из Kolvane"},
                         {"%n file(s)[one]", u"%n файл"},
                         {"%n file(s)[few]", u"%n файла"},
                         {"%n file(s)[many]", u"%n файлов"}}));
  KVMainController::sharedInstance().setLocaleStrings(shown);
  EXPECT_EQ(kv_stringByRemovingCues(
                QCoreApplication::translate(twin.context.c_str(), twin.source.c_str(), "verb")
                    .toStdU16String()),
            u"Из Kolvane");
  // Its twin with the other comment is another string: the app's answer stays.
  EXPECT_NE(QCoreApplication::translate(twin.context.c_str(), twin.source.c_str(), "noun"),
            QCoreApplication::translate(twin.context.c_str(), twin.source.c_str(), "verb"));
  EXPECT_NE(appAnswer.toStdU16String(), u"Из Kolvane");
  // A plural string of Kolvane's is chosen by the language's CLDR rule, its %n filled by Qt.
  for (const auto& [n, text] : std::vector<std::pair<int, std::u16string>>{
           {1, u"1 файл"}, {3, u"3 файла"}, {11, u"11 файлов"}, {21, u"21 файл"}}) {
    EXPECT_EQ(
        kv_stringByRemovingCues(
            QCoreApplication::translate("Anywhere", "%n file(s)", nullptr, n).toStdU16String()),
        text);
  }
}

TEST_F(LinguistCataloguesTest, TranslatorsGoBackToQtWhenKolvaneIsRemoved) {
  const LinguistCatalogue catalogue = testing::makeLinguistCatalogue("pl", 1, 8);
  QTranslator own;
  ASSERT_TRUE(own.load(QString::fromStdString(compile(catalogue))));
  const LinguistMessage& message = catalogue.messages[0];
  EXPECT_FALSE(KolvaneQt::installTranslator(nullptr));
  ASSERT_TRUE(KolvaneQt::installTranslator(&own));
  EXPECT_FALSE(KolvaneQt::installTranslator(&own));
  const QString underKolvane =
      QCoreApplication::translate(message.context.c_str(), message.source.c_str());
  KolvaneQt::uninstall();
  EXPECT_EQ(QCoreApplication::translate(message.context.c_str(), message.source.c_str()),
            QString::fromStdU16String(kv_stringByRemovingCues(underKolvane.toStdU16String())));
  QCoreApplication::removeTranslator(&own);
  EXPECT_TRUE(KolvaneQt::removeTranslator(&own));
  EXPECT_FALSE(KolvaneQt::removeTranslator(&own));
}

TEST_F(LinguistCataloguesTest, ATranslatorDestroyedUnderKolvaneLeavesItAndOddSourcesAnswer) {
  const LinguistCatalogue catalogue = testing::makeLinguistCatalogue("ru", 1, 8);
  const LinguistMessage& message = catalogue.messages[0];
  {
    QTranslator own;
    ASSERT_TRUE(own.load(QString::fromStdString(compile(catalogue))));
    ASSERT_TRUE(KolvaneQt::installTranslator(&own));
  }
  // Asked after the app deleted it: the source text, not a dangling translator.
  EXPECT_EQ(KolvaneQt::withoutCues(
                QCoreApplication::translate(message.context.c_str(), message.source.c_str())),
            QString::fromStdString(message.source));
  // Bytes that are no UTF-8, a lone "%", a huge count: answered, never thrown.
  EXPECT_FALSE(QCoreApplication::translate("Ctx", "\xff\xfe broken").isEmpty());
  EXPECT_EQ(KolvaneQt::withoutCues(QCoreApplication::translate("Ctx", "100%")), "100%");
  EXPECT_EQ(
      KolvaneQt::withoutCues(QCoreApplication::translate("Ctx", "%n item(s)", nullptr, 2147483647)),
      "2147483647 item(s)");
}

TEST(QtApplicationInfoTest, TheAppIsNamedByQCoreApplicationUnlessTheOptionsSay) {
  QCoreApplication::setOrganizationDomain("mail.example.org");
  QCoreApplication::setApplicationName("Kolvane Mail");
  QCoreApplication::setApplicationVersion("3.2");
  auto info = qt::applicationInfo(nullptr);
  EXPECT_EQ(info["CFBundleIdentifier"], "org.example.mail.Kolvane-Mail");
  EXPECT_EQ(info["CFBundleName"], "Kolvane Mail");
  EXPECT_EQ(info["CFBundleShortVersionString"], "3.2");
  EXPECT_EQ(info["CFBundleDevelopmentRegion"], "en");
  info = qt::applicationInfo({{"bundleIdentifier", "../mail"}, {"developmentLanguage", "de"}});
  EXPECT_EQ(info["CFBundleIdentifier"], "..mail");  // never a path out of its folder
  EXPECT_EQ(info["CFBundleDevelopmentRegion"], "de");
  QCoreApplication::setOrganizationDomain({});
  QCoreApplication::setApplicationName("/");
  EXPECT_EQ(qt::applicationInfo(nullptr)["CFBundleIdentifier"], "qt-app");
  QCoreApplication::setApplicationName({});
  QCoreApplication::setApplicationVersion({});
}

}  // namespace
}  // namespace kolvane
