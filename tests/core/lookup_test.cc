#include "kolvane/lookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/bundle_hook.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/workflow_step.h"
#include "strings/cues.h"
#include "support/core_fixture.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;

std::shared_ptr<KVStringGroup> groupOf(
    const std::string& key,
    std::vector<std::pair<std::optional<std::string>, std::u16string>> forms) {
  auto group = std::make_shared<KVStringGroup>();
  for (auto& [category, text] : forms) {
    auto form = std::make_shared<KVString>();
    form->key = key;
    form->pluralForm = category;
    form->extractFormatFromString(kv_stringWithCues(text));
    group->addStringForm(form);
  }
  return group;
}

class LookupTest : public testing::CoreTest {
 protected:
  void SetUp() override {
    testing::CoreTest::SetUp();
    platform().bundle.strings = {{"greeting", u"Hello (app)"}, {"Other/greeting", u"Hi (table)"}};
    shown_ = KVLocaleStrings::localeStringsForLocale(Locale("fr_FR"));
    base_ = KVLocaleStrings::localeStringsForLocale(Locale("en"));
  }
  void install() {
    controller().setLocaleStrings(shown_);
    controller().setBaseLocaleStrings(base_);
  }
  KVMainController& controller() { return KVMainController::sharedInstance(); }
  std::u16string lookup(std::string_view key, std::u16string_view value = u"",
                        std::string_view table = "") {
    return kv_stringShowingCues(platform().bundle.localizedStringForKey(key, value, table));
  }

  std::shared_ptr<KVLocaleStrings> shown_;
  std::shared_ptr<KVLocaleStrings> base_;
};

TEST_F(LookupTest, BeforeStartUpTheAppsOwnStringsComeBackWithCues) {
  EXPECT_EQ(lookup("greeting"), u"[Hello (app)]");
  EXPECT_EQ(lookup("missing", u"Default %d"), u"[Default {%d}]");
  EXPECT_EQ(lookup("missing"), u"[missing]");
  EXPECT_EQ(lookup("greeting", u"", "Other"), u"[Hi (table)]");
}

TEST_F(LookupTest, ShownLocaleThenBaseThenBundle) {
  shown_->setLoadedStrings({{"greeting", groupOf("greeting", {{std::nullopt, u"Bonjour"}})}});
  base_->setLoadedStrings({{"greeting", groupOf("greeting", {{std::nullopt, u"Hello"}})},
                           {"bye", groupOf("bye", {{std::nullopt, u"Bye %@"}})}});
  install();
  EXPECT_EQ(lookup("greeting"), u"[Bonjour]");
  EXPECT_EQ(lookup("bye"), u"[Bye {%@}]");
  EXPECT_EQ(lookup("nowhere", u"Fallback"), u"[Fallback]");
  // The stores hold one key space: a key found there wins whatever table was named.
  EXPECT_EQ(lookup("greeting", u"", "Other"), u"[Bonjour]");
}

TEST_F(LookupTest, StoredLookupSaysWhetherKolvaneHoldsTheString) {
  shown_->setLoadedStrings({{"greeting", groupOf("greeting", {{std::nullopt, u"Bonjour"}})}});
  base_->setLoadedStrings(
      {{"files", groupOf("files", {{"one", u"%d file"}, {"other", u"%d files"}})}});
  install();
  EXPECT_EQ(KolvaneStoredStringForKey("greeting"), u"\u200BBonjour\u2062");
  // The app's own table is not Kolvane's: a key only the bundle holds is a miss.
  EXPECT_EQ(KolvaneStoredStringForKey("Other/greeting"), std::nullopt);
  EXPECT_EQ(KolvaneStoredStringForKey("nowhere"), std::nullopt);
  EXPECT_EQ(kv_stringShowingCues(KolvaneStoredPluralStringForKey("files", 1).value_or(u"")),
            u"[{%d} file]");
  EXPECT_EQ(KolvaneStoredPluralStringForKey("nowhere", 1), std::nullopt);
}

TEST_F(LookupTest, DebugLinesNameWhereTheStringCameFrom) {
  shown_->setLoadedStrings({{"a", groupOf("a", {{std::nullopt, u"A"}})}});
  base_->setLoadedStrings({{"b", groupOf("b", {{std::nullopt, u"B"}})}});
  install();
  controller().setDebug(true);
  lookup("a");
  lookup("b");
  lookup("c");
  EXPECT_THAT(platform().log.lines(),
              ElementsAre("[KV] a: \"\u200BA\u2062\" (from current locale strings)",
                          "[KV] b: \"\u200BB\u2062\" (from base)"));
}

TEST_F(LookupTest, ForwardLookupShowsEditsOnlyWhileEditingIsEnabled) {
  shown_->setLoadedStrings({{"a", groupOf("a", {{std::nullopt, u"Loaded"}})}});
  shown_->setDirtyStrings({{"a", groupOf("a", {{std::nullopt, u"Edited"}})}});
  install();
  EXPECT_EQ(lookup("a"), u"[Loaded]");
  enableEditing();
  EXPECT_EQ(lookup("a"), u"[Edited]");
}

TEST_F(LookupTest, ReverseLookupAddsMissingCuesAndIgnoresCase) {
  shown_->setLoadedStrings({{"files", groupOf("files", {{std::nullopt, u"%d Files here"}})}});
  base_->setLoadedStrings({{"base", groupOf("base", {{std::nullopt, u"Only in base"}})}});
  install();
  const std::u16string block = u"\u200B\u2063\u2064 FILES HERE\u2062";
  for (const std::u16string& text : {block, block.substr(1), block.substr(0, block.size() - 1),
                                     block.substr(1, block.size() - 2)}) {
    const auto found = controller().kolvaneStringForLocalizedString(text);
    ASSERT_NE(found, nullptr) << kv_stringShowingCues(text).size();
    EXPECT_EQ(found->key, "files");
  }
  EXPECT_EQ(controller().kolvaneStringForLocalizedString(u"only in base")->key, "base");
  EXPECT_EQ(controller().kolvaneStringForLocalizedString(u"unknown"), nullptr);
}

TEST_F(LookupTest, ReverseLookupFindsEditsWhetherOrNotEditingIsEnabled) {
  shown_->setLoadedStrings({{"a", groupOf("a", {{std::nullopt, u"Same"}})}});
  shown_->setDirtyStrings({{"a", groupOf("a", {{std::nullopt, u"same"}})}});
  install();
  const auto found = controller().kolvaneStringForLocalizedString(u"SAME");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->localizedFormat, u"\u200Bsame\u2062");
}

TEST_F(LookupTest, NestedStringCollectsLiteralAndNestedValues) {
  shown_->setLoadedStrings({{"outer", groupOf("outer", {{std::nullopt, u"%@ sent %@ to %@"}})},
                            {"inner", groupOf("inner", {{std::nullopt, u"a file"}})}});
  install();
  const auto inner = controller().kolvaneStringForLocalizedString(u"a file");
  // "Ann sent [a file] to [a file]", nested blocks already emptied.
  const std::u16string text =
      u"\u200B\u2063Ann\u2064 sent \u2063\u200B\u2062\u2064 to \u2063\u200B\u2062\u2064\u2062";
  std::optional<std::vector<KVArgumentValue>> values = std::vector<KVArgumentValue>{inner, inner};
  const auto outer = controller().kolvaneStringWithNonNestedString(text, &values);
  ASSERT_NE(outer, nullptr);
  EXPECT_EQ(outer->key, "outer");
  ASSERT_EQ(values->size(), 3u);
  EXPECT_EQ(std::get<std::u16string>((*values)[0]), u"Ann");
  EXPECT_EQ(std::get<std::shared_ptr<const KVString>>((*values)[2]), inner);
}

TEST_F(LookupTest, NestedStringWithTooFewValuesLogsEachMissingOne) {
  shown_->setLoadedStrings({{"outer", groupOf("outer", {{std::nullopt, u"%@ and %@ and %@"}})}});
  install();
  controller().setDebug(true);
  const std::u16string empty = u"\u2063\u200B\u2062\u2064";
  const std::u16string text = u"\u200B" + empty + u" and " + empty + u" and " + empty + u"\u2062";
  std::optional<std::vector<KVArgumentValue>> values = std::vector<KVArgumentValue>{u"x"};
  const auto outer = controller().kolvaneStringWithNonNestedString(text, &values);
  ASSERT_NE(outer, nullptr);
  EXPECT_EQ(values->size(), 1u);
  EXPECT_EQ(platform().log.lines().size(), 2u);
  EXPECT_EQ(platform().log.lines()[0].rfind("[KV] Nested string out of bounds", 0), 0u);

  // Without values in use every argument is taken literally; without a slot nothing is kept.
  std::optional<std::vector<KVArgumentValue>> none;
  EXPECT_EQ(controller().kolvaneStringWithNonNestedString(text, &none), outer);
  EXPECT_EQ(none->size(), 3u);
  EXPECT_EQ(controller().kolvaneStringWithNonNestedString(text, nullptr), outer);
}

TEST_F(LookupTest, PluralLookupUsesEachStoresOwnLocaleRules) {
  shown_ = KVLocaleStrings::localeStringsForLocale(Locale("ru_RU"));
  shown_->setLoadedStrings(
      {{"files",
        groupOf("files", {{"one", u"%d файл"}, {"few", u"%d файла"}, {"many", u"%d файлов"}})}});
  base_->setLoadedStrings(
      {{"files", groupOf("files", {{"one", u"%d file"}, {"other", u"%d files"}})},
       {"songs", groupOf("songs", {{"one", u"%d song"}, {"other", u"%d songs"}})}});
  install();
  EXPECT_EQ(
      kv_stringShowingCues(KVMainController::sharedInstance().pluralizedStringWithKey("files", 22)),
      u"[{%d} файла]");
  EXPECT_EQ(
      kv_stringShowingCues(KVMainController::sharedInstance().pluralizedStringWithKey("files", 5)),
      u"[{%d} файлов]");
  EXPECT_EQ(
      kv_stringShowingCues(KVMainController::sharedInstance().pluralizedStringWithKey("songs", 1)),
      u"[{%d} song]");
  EXPECT_EQ(kv_stringShowingCues(
                KVMainController::sharedInstance().pluralizedStringWithKey("greeting", 1)),
            u"[Hello (app)]");
}

TEST_F(LookupTest, CalledDirectlyWithoutAStoredImplementationFallsBackToTheBundle) {
  const auto saved = LocalizedStringForKeyIMP.exchange(nullptr);
  EXPECT_EQ(kv_stringShowingCues(KolvaneLocalizedStringForKey(
                platform().bundle, Bundle::kLocalizedStringSelector, "greeting", u"", "")),
            u"[Hello (app)]");
  LocalizedStringForKeyIMP = saved;
}

using TestImp = int (*)();
int first() { return 1; }
int second() { return 2; }

TEST_F(LookupTest, SwizzlingReplacesAnImplementationAndKeepsTheOldOne) {
  std::atomic<TestImp> empty{nullptr};
  std::atomic<TestImp> kept{nullptr};
  controller().setDebug(true);
  EXPECT_FALSE(kv_class_swizzleMethodAndStore<TestImp>(empty, &second, &kept));
  EXPECT_EQ(empty.load(), nullptr);
  EXPECT_EQ(kept.load(), nullptr);
  EXPECT_THAT(platform().log.lines(), ElementsAre("[KV] Swizzle: Method not found"));

  std::atomic<TestImp> slot{&first};
  EXPECT_TRUE(kv_class_swizzleMethodAndStore<TestImp>(slot, &second, &kept));
  EXPECT_EQ(slot.load()(), 2);
  EXPECT_EQ(kept.load()(), 1);
}

}  // namespace
}  // namespace kolvane
