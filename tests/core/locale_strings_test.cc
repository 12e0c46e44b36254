#include "core/locale_strings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/locale_strings_fixture.h"
#include "core/main_controller.h"
#include "core/review_locale_strings.h"
#include "core/workflow_step.h"
#include "platform/linux/posix_file_system.h"
#include "strings/cues.h"
#include "strings/xliff_parser.h"
#include "support/core_fixture.h"

namespace kolvane {
namespace {

using kolvane::testing::FaultyFileSystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using LocaleStringsTest = LocaleStringsFixture<testing::CoreTest>;

TEST_F(LocaleStringsTest, PendingReplacesPublishedAndThePackagedFileIsNotRead) {
  writeFile("fr_FR_published.xlf", xliff({{"a", "published A"}, {"b", "published B"}}));
  writeFile("fr_FR_pending.xlf", xliff({{"a", "pending A"}}));
  start();
  EXPECT_EQ(text("a"), u"[pending A]");
  EXPECT_EQ(text("b"), u"[published B]");
}

TEST_F(LocaleStringsTest, EditedFileAloneStillLetsThePackagedFileBeRead) {
  platform().bundle.resources["fr_FR.xlf"] = folder() + "/fr_FR.xlf";
  ASSERT_TRUE(writeFileAtomically(folder() + "/fr_FR.xlf", xliff({{"a", "packaged"}})));
  writeFile("fr_FR_edited.xlf", xliff({{"a", "edited"}}));
  start();
  EXPECT_EQ(text("a"), u"[packaged]");
  EXPECT_EQ(shown()->dirtyStrings().size(), 1u);
  enableEditing();
  EXPECT_EQ(text("a"), u"[edited]");
  // A pending file alone is enough to keep the packaged file out.
  writeFile("fr_FR_pending.xlf", xliff({{"b", "pending"}}));
  controller().setLocaleStrings(KVLocaleStrings::localeStringsForLocale(Locale("fr_FR")));
  controller().loadStrings();
  EXPECT_EQ(shown()->loadedStrings()->count("a"), 0u);
}

TEST_F(LocaleStringsTest, ACorruptPublishedFileCountsAsNotRead) {
  platform().bundle.resources["fr_FR.xlf"] = folder() + "/fr_FR.xlf";
  ASSERT_TRUE(writeFileAtomically(folder() + "/fr_FR.xlf", xliff({{"a", "packaged"}})));
  writeFile("fr_FR_published.xlf", "<xliff><file>");
  controller().setDebug(true);
  start();
  EXPECT_EQ(text("a"), u"[packaged]");
  EXPECT_THAT(platform().log.lines(), ::testing::Contains(::testing::StartsWith(
                                          "[KV] Error loading strings from " + filesFolder())));
}

TEST_F(LocaleStringsTest, BaseStoreReadsTheAppsTableOfTheDevelopmentRegion) {
  platform().bundle.info["CFBundleDevelopmentRegion"] = "en";
  platform().bundle.resources["Localizable.strings@en"] = folder() + "/Localizable.strings";
  ASSERT_TRUE(writeFileAtomically(folder() + "/Localizable.strings",
                                  "\"hi\" = \"Hi %@\";\n\"aB1-cd-EF2.text\" = \"Hello\\nWorld\";"));
  start();
  const auto base = controller().baseLocaleStrings();
  const auto group = base->kolvaneStringGroupForKey("hi");
  ASSERT_NE(group, nullptr);
  EXPECT_EQ(group->status, KVStringStatusUntranslated);
  EXPECT_EQ(kv_stringShowingCues(*base->localizedStringForKey("hi")), u"[Hi {%@}]");
}

TEST_F(LocaleStringsTest, InterfaceFileTextsAreIndexedWithoutLineBreaks) {
  start();
  shown()->setLoadedStrings(KVXliffParser::parseXliffData(
      xliff({{"aB1-cd-EF2.text", "Hello\nWorld"}, {"plain.key", "Other"}, {"p-1.x[one]", "P"}}), 0,
      nullptr));
  EXPECT_EQ(shown()->keyForIBString(u"\u200BHello\nWorld\u2062"), std::nullopt);  // not yet run
  shown()->extractUIStrings();
  EXPECT_EQ(shown()->keyForIBString(u"\u200BHello\nWorld\u2062"), "aB1-cd-EF2.text");
  EXPECT_EQ(shown()->keyForIBString(u"\u200BHelloWorld\u2062"), "aB1-cd-EF2.text");
  EXPECT_EQ(shown()->nibStrings().size(), 1u);
}

TEST_F(LocaleStringsTest, SavedDecisionsComeBackOnTheRightGroups) {
  writeFile("fr_FR_published.xlf", xliff({{"a", "A"}, {"b", "B"}, {"c", "C"}}));
  writeFile("fr_FR_edited.xlf", xliff({{"b", "B edited"}}));
  platform().defaults.setObject("KVStatuses", {{"a", 2}, {"b", 3}, {"c", 1}, {"ghost", 2}});
  start();
  EXPECT_THAT(shown()->acceptedStrings(), ::testing::SizeIs(1));
  EXPECT_EQ(shown()->acceptedStrings().at("a")->status, 2u);
  // The edited group takes the decision in place of the loaded one.
  EXPECT_EQ(shown()->rejectedStrings().at("b"), shown()->dirtyStrings().at("b"));
  EXPECT_EQ(shown()->loadedStrings()->at("c")->status, 1u);
}

TEST_F(LocaleStringsTest, ReviewDecisionsPublishNewGroupsAndLeaveHandedOutOnesAlone) {
  writeFile("fr_FR_published.xlf", xliff({{"a", "A"}, {"b", "B"}}));
  start();
  const auto before = shown()->kolvaneStringGroupForKey("a");
  const unsigned statusBefore = before->status;
  const auto accepted = shown()->setReviewStatus("a", KVStringStatusAccepted);
  ASSERT_NE(accepted, nullptr);
  EXPECT_NE(accepted, before);
  EXPECT_EQ(before->status, statusBefore);
  EXPECT_EQ(shown()->kolvaneStringGroupForKey("a")->status, KVStringStatusAccepted);
  EXPECT_EQ(accepted->pluralForms.at("none")->group.lock(), accepted);
  EXPECT_EQ(shown()->acceptedStrings().at("a"), accepted);

  shown()->setReviewStatus("a", KVStringStatusRejected);
  EXPECT_THAT(shown()->acceptedStrings(), IsEmpty());
  EXPECT_EQ(shown()->rejectedStrings().count("a"), 1u);
  shown()->setReviewStatus("a", 0);
  EXPECT_THAT(shown()->rejectedStrings(), IsEmpty());
  EXPECT_EQ(shown()->setReviewStatus("ghost", KVStringStatusAccepted), nullptr);
  EXPECT_THAT(shown()->acceptedStrings(), IsEmpty());
}

TEST_F(LocaleStringsTest, SaveDirtyWritesTheEditedFileAndTheDecisions) {
  start();
  auto edited = KVXliffParser::parseXliffData(xliff({{"a", "A2"}, {"b", "B2"}}), 0, nullptr);
  edited.at("a")->status = KVStringStatusAccepted;
  edited.at("b")->status = KVStringStatusRejected;
  shown()->acceptedStrings()["a"] = edited.at("a");
  shown()->rejectedStrings()["b"] = edited.at("b");
  shown()->acceptedStrings()["b"] = edited.at("a");  // a key in both takes the rejected status
  shown()->setDirtyStrings(edited);
  shown()->saveDirty();
  EXPECT_EQ(*platform().defaults.objectForKey("KVStatuses"), nlohmann::json({{"a", 2}, {"b", 3}}));
  EXPECT_GE(platform().defaults.synchronizeCount, 1);
  const auto reread = KVXliffParser::parseXliffData(
      *platform().files.readFile(filesFolder() + "/fr_FR_edited.xlf"), 0, nullptr);
  EXPECT_EQ(reread.size(), 2u);

  shown()->clearDirtyStrings();
  shown()->clearDirtyStatuses();
  EXPECT_THAT(shown()->dirtyStrings(), IsEmpty());
  EXPECT_FALSE(platform().files.fileExists(filesFolder() + "/fr_FR_edited.xlf"));
  EXPECT_EQ(platform().defaults.objectForKey("KVStatuses"), std::nullopt);
  EXPECT_THAT(shown()->acceptedStrings(), IsEmpty());
}

TEST_F(LocaleStringsTest, FailedSaveIsReportedKeptInMemoryAndWrittenByTheNextSave) {
  start();
  std::vector<std::string> told;
  KVLocaleStrings::setSaveFailureHandler(
      [&told](const KVError& error) { told.push_back(error.localizedDescription); });
  shown()->setDirtyStrings(KVXliffParser::parseXliffData(xliff({{"a", "A"}}), 0, nullptr));
  platform().files.fail(FaultyFileSystem::Call::writeFileAtomically, "fr_FR_edited.xlf");
  const auto error = shown()->saveDirty();
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->localizedDescription,
            "Your change could not be saved on this device: the disk is full.");
  EXPECT_THAT(told, ElementsAre(error->localizedDescription));
  EXPECT_FALSE(shown()->changesKeptOnDevice());
  EXPECT_THAT(platform().log.lines(), IsEmpty());  // the log line needs `log` on
  controller().setLog(true);
  (void)shown()->saveDirty();
  EXPECT_THAT(platform().log.lines(),
              ElementsAre(::testing::StartsWith("[KV] Error saving dirty strings: "),
                          "[KV] Failed to save some strings: a"));

  platform().files.heal();
  EXPECT_EQ(shown()->saveDirty(), std::nullopt);
  EXPECT_TRUE(shown()->changesKeptOnDevice());
  EXPECT_TRUE(platform().files.fileExists(filesFolder() + "/fr_FR_edited.xlf"));
  EXPECT_EQ(told.size(), 2u);
  KVLocaleStrings::setSaveFailureHandler(nullptr);
}

TEST_F(LocaleStringsTest, ARejectionKeepsItsReasonAcrossARestart) {
  writeFile("fr_FR_published.xlf", xliff({{"a", "A"}}));
  start();
  shown()->setReviewStatus("a", KVStringStatusRejected);
  auto decided = shown()->rejectedStrings().at("a")->copy();
  decided->rejectReason = u"GRAMMAR";
  decided->rejectDescription = u"Accord du participe";
  shown()->rejectedStrings()["a"] = decided;
  ASSERT_EQ(shown()->saveDirty(), std::nullopt);

  controller().setLocaleStrings(KVLocaleStrings::localeStringsForLocale(Locale("fr_FR")));
  controller().loadStrings();
  const auto restored = shown()->rejectedStrings().at("a");
  EXPECT_EQ(restored->rejectReason, u"GRAMMAR");
  EXPECT_EQ(restored->rejectDescription, u"Accord du participe");
  // What lookups read carries no reason: the decision holds its own copy.
  EXPECT_EQ(shown()->kolvaneStringGroupForKey("a")->rejectReason, u"");
}

TEST_F(LocaleStringsTest, ABackgroundLoadReadsOffTheMainThreadAndSkipsAReplacedStore) {
  start();
  KVMainController::setBackgroundRunner(nullptr);  // a thread of its own, as in an app
  writeFile("fr_FR_published.xlf", xliff({{"a", "new A"}}));
  bool done = false;
  controller().loadStringsInBackground([&done] { done = true; });
  EXPECT_TRUE(platform().queue.runUntil([&done] { return done; }));
  EXPECT_EQ(text("a"), u"[new A]");

  // The locale changes while the files are read: the new store is not filled with the old
  // one's strings.
  const auto before = shown();
  done = false;
  controller().loadStringsInBackground([&done] { done = true; });
  controller().setLocaleStrings(KVLocaleStrings::localeStringsForLocale(Locale("de_DE")));
  EXPECT_TRUE(platform().queue.runUntil([&done] { return done; }));
  EXPECT_EQ(shown()->loadedStrings(), nullptr);
  EXPECT_EQ(kv_stringShowingCues(*before->localizedStringForKey("a")), u"[new A]");
}

TEST_F(LocaleStringsTest, ReverseLookupFollowsEditsThroughTheIndex) {
  writeFile("fr_FR_published.xlf", xliff({{"a", "Loaded <ph>%d</ph> Items"}}));
  start();
  const std::u16string hash = u"\u200Bloaded \u2063\u2064 items\u2062";
  EXPECT_EQ(shown()->kolvaneStringForLocalizedString(hash)->key, "a");
  auto edits = KVXliffParser::parseXliffData(xliff({{"a", "Changed"}}), 0, nullptr);
  shown()->setDirtyGroup("a", edits.at("a"));
  EXPECT_EQ(shown()->kolvaneStringForLocalizedString(u"\u200Bchanged\u2062"),
            edits.at("a")->pluralForms.at("none"));
  shown()->setDirtyGroup("a", nullptr);
  EXPECT_EQ(shown()->kolvaneStringForLocalizedString(u"\u200Bchanged\u2062"), nullptr);
  EXPECT_EQ(KVLocaleStrings::findLocalizedString(hash, *shown()->loadedStrings())->key, "a");
}

TEST_F(LocaleStringsTest, ReviewSnapshotIsConsumedOnce) {
  start();
  auto review = KVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*shown());
  EXPECT_EQ(review->pendingFilePath(), filesFolder() + "/fr_FR_pending_review.xlf");
  writeFile("fr_FR_published_review.xlf", xliff({{"a", "pub"}, {"b", "pub"}}));
  writeFile("fr_FR_pending_review.xlf", xliff({{"a", "pending"}}));
  writeFile("fr_FR_edited_review.xlf", xliff({{"c", "edited"}}));
  review->clearDirty();
  EXPECT_TRUE(platform().files.fileExists(review->dirtyFilePath()));
  review->loadStrings();
  EXPECT_EQ(review->loadedStrings()->size(), 2u);
  EXPECT_EQ(kv_stringShowingCues(*review->localizedStringForKey("a")), u"[pending]");
  EXPECT_FALSE(platform().files.fileExists(review->dirtyFilePath()));
  review->loadStrings();
  EXPECT_THAT(*review->loadedStrings(), IsEmpty());
}

}  // namespace
}  // namespace kolvane
