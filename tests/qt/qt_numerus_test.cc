// The table of Qt's numerus forms against lrelease itself, for every language Qt knows: each
// form's category is the CLDR category of most of the counts 0 to 1,000 that Qt gives it.
// When the table is stale the test prints it afresh.
#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/plurrule.h>

#include <QLocale>
#include <QTranslator>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "strings/qt_numerus_forms.h"
#include "support/fake_platform.h"

namespace kolvane {
namespace {

// What lrelease does for `language`: for each of its forms, how many counts of each CLDR
// category it gets. Empty when lrelease failed.
std::vector<std::map<std::string, int>> probe(const std::string& language,
                                              const std::string& folder) {
  std::string ts =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><!DOCTYPE TS><TS version=\"2.1\" language=\"" +
      language + "\"><context><name>C</name><message numerus=\"yes\"><source>%n</source>" +
      "<translation>";
  for (int form = 0; form < 6; ++form)
    ts += "<numerusform>" + std::to_string(form) + "</numerusform>";
  ts += "</translation></message></context></TS>";
  std::ofstream(folder + "/probe.ts") << ts;
  const std::string command = std::string("'") + KOLVANE_LRELEASE + "' -silent '" + folder +
                              "/probe.ts' -qm '" + folder + "/probe.qm'";
  QTranslator translator;
  if (std::system(command.c_str()) != 0 ||
      !translator.load(QString::fromStdString(folder + "/probe.qm"))) {
    return {};
  }
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::PluralRules> rules(
      icu::PluralRules::forLocale(icu::Locale(language.c_str()), status));
  if (U_FAILURE(status)) return {};
  std::vector<std::map<std::string, int>> forms;
  for (int n = 0; n <= 1000; ++n) {
    const auto form = static_cast<std::size_t>(translator.translate("C", "%n", nullptr, n).toInt());
    if (forms.size() <= form) forms.resize(form + 1);
    std::string category;
    rules->select(n).toUTF8String(category);
    ++forms[form][category];
  }
  return forms;
}

std::string mostCounted(const std::map<std::string, int>& categories) {
  std::string chosen = "other";
  int most = 0;
  for (const auto& [category, count] : categories) {
    if (count > most) {
      chosen = category;
      most = count;
    }
  }
  return chosen;
}

class QtNumerusTest : public testing::PlatformTest {};

TEST_F(QtNumerusTest, TheTableIsWhatLreleaseDoesForEveryLanguageQtKnows) {
  std::set<std::string> languages;
  for (int language = QLocale::AnyLanguage + 2; language <= QLocale::LastLanguage; ++language) {
    const QString code = QLocale::languageToCode(static_cast<QLocale::Language>(language));
    if (!code.isEmpty()) languages.insert(code.toStdString());
  }
  ASSERT_GT(languages.size(), 300u);
  std::string fresh;
  std::size_t stale = 0;
  std::size_t exact = 0;
  for (const std::string& language : languages) {
    const auto forms = probe(language, folder());
    ASSERT_FALSE(forms.empty()) << language;
    std::vector<std::string> categories;
    bool oneToOne = true;
    for (const auto& form : forms) {
      categories.push_back(mostCounted(form));
      oneToOne = oneToOne && form.size() == 1;
    }
    exact += oneToOne ? 1 : 0;
    std::string joined;
    for (const auto& category : categories) joined += (joined.empty() ? "" : " ") + category;
    if (joined != "one other") fresh += "    {\"" + language + "\", \"" + joined + "\"},\n";
    if (kv_qtNumerusCategories(language) != categories) ++stale;
  }
  EXPECT_EQ(stale, 0u) << "src/strings/qt_numerus_forms.cc, the table afresh:\n" << fresh;
  // Most languages' forms are exactly CLDR categories; the others are Qt's own rules.
  EXPECT_GT(exact, languages.size() / 2);
}

TEST(QtNumerusCategoriesTest, KnownLanguagesRegionsAndUnknownOnes) {
  EXPECT_EQ(kv_qtNumerusCategories("ru"), (std::vector<std::string>{"one", "few", "many"}));
  EXPECT_EQ(kv_qtNumerusCategories("ru_RU"), kv_qtNumerusCategories("ru"));
  EXPECT_EQ(kv_qtNumerusCategories("pl-PL"), (std::vector<std::string>{"one", "few", "many"}));
  EXPECT_EQ(kv_qtNumerusCategories("ja"), (std::vector<std::string>{"other"}));
  EXPECT_EQ(kv_qtNumerusCategories("xx"), (std::vector<std::string>{"one", "other"}));
  EXPECT_EQ(kv_qtNumerusCategories(""), (std::vector<std::string>{"one", "other"}));
}

}  // namespace
}  // namespace kolvane
