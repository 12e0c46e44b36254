#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/locale_strings.h"
#include "core/locale_strings_fixture.h"
#include "core/main_controller.h"
#include "core/review_locale_strings.h"
#include "core/workflow_step.h"
#include "platform/linux/posix_file_system.h"
#include "strings/cues.h"
#include "strings/xliff_parser.h"
#include "support/reviewer_fixture.h"

namespace kolvane {
namespace {

using ::testing::HasSubstr;

// The latest text from the server: the scripted server answers the export by retrieval type.
class PullTest : public LocaleStringsFixture<testing::ReviewerTest> {
 protected:
  void SetUp() override {
    LocaleStringsFixture::SetUp();
    start();
    logIn();
    platform().transport.answer = [this](const HttpRequest& request) {
      HttpResponse response;
      if (request.url.find("PENDING") != std::string::npos) {
        response.status = 200;
        response.body = xliff({{"1", "pending A"}});
      } else if (publishedReachable) {
        response.status = 200;
        response.body = xliff({{"1", "server A"}, {"2", "server B"}});
      } else {
        response.failure.emplace(7, "offline");
      }
      return response;
    };
  }
  std::optional<KVError> pull(KVLocaleStrings& store) {
    std::optional<std::optional<KVError>> result;
    store.pullWithCompletion([&result](auto error) { result = error; });
    platform().queue.runAll();
    EXPECT_TRUE(result.has_value());
    return result.value_or(std::nullopt);
  }
  bool publishedReachable = true;
};

TEST_F(PullTest, WithoutAStepOnlyPublishedTextIsFetchedAndUnsentEditsAreGone) {
  writeFile("fr_FR_edited.xlf", xliff({{"9", "edit"}}));
  platform().defaults.setObject("KVStatuses", {{"a", 2}});
  EXPECT_EQ(pull(*shown()), std::nullopt);
  ASSERT_EQ(platform().transport.sent.size(), 1u);
  EXPECT_THAT(platform().transport.sent[0].url,
              HasSubstr("/files-api/v2/projects/demo/locales/fr-FR/content/export"
                        "?retrievalType=PUBLISHED"));
  EXPECT_EQ(platform().transport.sent[0].timeout, 20);
  EXPECT_FALSE(platform().files.fileExists(filesFolder() + "/fr_FR_edited.xlf"));
  EXPECT_EQ(platform().defaults.objectForKey("KVStatuses"), std::nullopt);
  EXPECT_EQ(shown()->lastDownloadDate(), std::nullopt);  // the pending file's date
  controller().loadStrings();
  EXPECT_EQ(text("1"), u"[server A]");
}

TEST_F(PullTest, WithAStepPendingTextIsFetchedTooAndTheFirstErrorWins) {
  auto step = std::make_shared<KVWorkflowStep>();
  step->uid = "s1";
  controller().setWorkflowStep(step);
  EXPECT_EQ(pull(*shown()), std::nullopt);
  ASSERT_EQ(platform().transport.sent.size(), 2u);
  EXPECT_THAT(platform().transport.sent[1].url,
              HasSubstr("?retrievalType=PENDING&workflowStepUids[0]=s1"));
  EXPECT_TRUE(shown()->lastDownloadDate().has_value());
  controller().loadStrings();
  EXPECT_EQ(text("1"), u"[pending A]");

  publishedReachable = false;
  const auto error = pull(*shown());
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->details, "offline");  // the transport's words stay behind the details
  EXPECT_EQ(platform().transport.sent.size(), 4u);
}

TEST_F(PullTest, AFailedPullLeavesTheDeviceAsItWas) {
  auto step = std::make_shared<KVWorkflowStep>();
  step->uid = "s1";
  controller().setWorkflowStep(step);
  writeFile("fr_FR_published.xlf", xliff({{"1", "old A"}}));
  writeFile("fr_FR_edited.xlf", xliff({{"9", "edit"}}));
  platform().defaults.setObject("KVStatuses", {{"1", 2}});
  controller().loadStrings();
  publishedReachable = false;  // the pending text comes, the published does not
  EXPECT_TRUE(pull(*shown()).has_value());
  EXPECT_EQ(shown()->dirtyStrings().size(), 1u);
  EXPECT_EQ(shown()->acceptedStrings().size(), 1u);
  EXPECT_TRUE(platform().files.fileExists(filesFolder() + "/fr_FR_edited.xlf"));
  EXPECT_EQ(platform().defaults.objectForKey("KVStatuses"), nlohmann::json({{"1", 2}}));
  EXPECT_FALSE(platform().files.fileExists(filesFolder() + "/fr_FR_pending.xlf"));
  EXPECT_FALSE(platform().files.fileExists(filesFolder() + "/fr_FR_pending.xlf.download"));
  controller().loadStrings();
  EXPECT_EQ(text("1"), u"[old A]");
}

TEST_F(PullTest, AReviewSnapshotPullsIntoItsOwnFilesAndConsumesThem) {
  writeFile("fr_FR_published.xlf", xliff({{"1", "A"}}));
  writeFile("fr_FR_edited.xlf", xliff({{"9", "edit"}}));
  platform().defaults.setObject("KVStatuses", {{"1", 3}});
  controller().loadStrings();
  const auto review = KVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(*shown());
  EXPECT_EQ(pull(*review), std::nullopt);
  EXPECT_TRUE(platform().files.fileExists(filesFolder() + "/fr_FR_published_review.xlf"));
  // The shown store's decisions and files are not the snapshot's to touch.
  EXPECT_EQ(platform().defaults.objectForKey("KVStatuses"), nlohmann::json({{"1", 3}}));
  EXPECT_TRUE(platform().files.fileExists(filesFolder() + "/fr_FR_edited.xlf"));
  EXPECT_EQ(*platform().files.readFile(filesFolder() + "/fr_FR_published.xlf"),
            xliff({{"1", "A"}}));
  review->loadStrings();
  EXPECT_EQ(review->loadedStrings()->size(), 2u);
  EXPECT_FALSE(platform().files.fileExists(filesFolder() + "/fr_FR_published_review.xlf"));
}

}  // namespace
}  // namespace kolvane
