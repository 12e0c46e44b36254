#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>

#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/workflow_step.h"
#include "kolvane/kolvane.h"
#include "server/server_url.h"
#include "server/session.h"
#include "support/reviewer_fixture.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MainControllerTest : public testing::ReviewerTest {
 protected:
  KVMainController& controller() { return KVMainController::sharedInstance(); }
  void saveStep(bool canTranslate) {
    KVWorkflowStep step;
    step.name = "Review";
    step.uid = "step-1";
    step.canTranslate = canTranslate;
    platform().defaults.setObject("KVWorkflowStep", step.archivedData());
  }
};

TEST_F(MainControllerTest, StartWithoutOptionsLogsNothingAndChoosesProduction) {
  kolvaneEnvironment = KVEnvironmentStaging;
  KolvaneSDK::startWithProjectId("demo");
  EXPECT_TRUE(controller().appLaunched());
  EXPECT_EQ(controller().appId(), "demo");
  EXPECT_EQ(kolvaneEnvironment, 1);
  EXPECT_FALSE(controller().log());
  EXPECT_THAT(platform().log.lines(), IsEmpty());
}

TEST_F(MainControllerTest, MissingProjectIdStartsNothing) {
  KolvaneSDK::startWithProjectId(std::nullopt, {{"logging", 2}});
  EXPECT_FALSE(controller().appLaunched());
  EXPECT_FALSE(controller().log());  // the options are never read
  EXPECT_EQ(controller().baseLocaleStrings(), nullptr);
  EXPECT_THAT(platform().log.lines(), IsEmpty());

  // Its line shows only when an earlier start switched logging on.
  controller().setLog(true);
  KolvaneSDK::startWithProjectId(std::nullopt);
  EXPECT_THAT(platform().log.lines(),
              ElementsAre("[KV] Failed to start Kolvane: invalid Project ID"));
}

TEST_F(MainControllerTest, StartLineIsTestedBeforeTheOptionsAreRead) {
  KolvaneSDK::startWithProjectId("demo", {{"logging", 1}});
  EXPECT_TRUE(controller().log());
  EXPECT_THAT(platform().log.lines(), IsEmpty());
  KolvaneSDK::startWithProjectId("demo", {{"logging", 1}});
  EXPECT_THAT(platform().log.lines(), ElementsAre("[KV] Starting up Kolvane"));
}

TEST_F(MainControllerTest, LoggingLevels) {
  controller().parseLaunchOptions({{"logging", 3}});
  EXPECT_FALSE(controller().log());
  EXPECT_FALSE(controller().debug());
  controller().parseLaunchOptions({{"logging", "2"}});
  EXPECT_FALSE(controller().log());
  for (double huge : {1e300, std::numeric_limits<double>::infinity(), std::nan("")}) {
    controller().parseLaunchOptions({{"logging", huge}});
    EXPECT_FALSE(controller().log()) << huge;
  }
  controller().parseLaunchOptions({{"logging", 2.7}});  // whole part: 2
  EXPECT_TRUE(controller().log());
  EXPECT_TRUE(controller().debug());
}

TEST_F(MainControllerTest, EnvironmentIsStagingOnlyForExactlyStage) {
  controller().parseLaunchOptions({{"environment", "stage"}});
  EXPECT_EQ(kolvaneEnvironment, KVEnvironmentStaging);
  controller().parseLaunchOptions({{"environment", "Stage"}});
  EXPECT_EQ(kolvaneEnvironment, KVEnvironmentProduction);
  controller().parseLaunchOptions({{"environment", "stage"}});
  controller().parseLaunchOptions("not a dictionary");
  EXPECT_EQ(kolvaneEnvironment, KVEnvironmentProduction);
}

TEST_F(MainControllerTest, ASavedLocaleThatIsNoPlainNameNeverBecomesAPath) {
  platform().defaults.setObject("KVLocale", "../../outside");
  KolvaneSDK::startWithProjectId("demo", nullptr);
  EXPECT_EQ(KolvaneSDK::locale(), std::nullopt);
  // A store made by hand for such an id has no files at all.
  KVLocaleStrings store{Locale("../x")};
  EXPECT_EQ(store.publishedFilePath(), "");
  EXPECT_EQ(store.packagedFilePath(), std::nullopt);
  store.setDirtyStrings({});
  store.saveDirty();
  EXPECT_FALSE(std::filesystem::exists(folder() + "/x_edited.xlf"));
}

TEST_F(MainControllerTest, SavedParametersMakeTheStores) {
  platform().bundle.info["CFBundleDevelopmentRegion"] = "de";
  platform().defaults.setObject("KVLocale", "fr_FR");
  saveStep(true);
  KolvaneSDK::startWithProjectId("demo", {{"logging", 2}});
  EXPECT_EQ(controller().baseLocaleStrings()->locale().localeIdentifier(), "de");
  EXPECT_EQ(KolvaneSDK::locale(), Locale("fr_FR"));
  ASSERT_NE(controller().workflowStep(), nullptr);
  EXPECT_EQ(controller().workflowStep()->uid, "step-1");
  const auto lines = platform().log.lines();
  ASSERT_GE(lines.size(), 3u);
  EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 3),
              ElementsAre("[KV] Using saved workflow step Review", "[KV] Project base locale de",
                          "[KV] Using saved locale fr_FR"));
}

TEST_F(MainControllerTest, NothingSavedMeansNoLocaleAndEnglishBase) {
  KolvaneSDK::startWithProjectId("demo");
  EXPECT_EQ(KolvaneSDK::locale(), std::nullopt);
  EXPECT_EQ(controller().baseLocaleStrings()->locale().localeIdentifier(), "en");
  EXPECT_EQ(controller().workflowStep(), nullptr);
}

TEST_F(MainControllerTest, DamagedSavedStepIsIgnored) {
  platform().defaults.setObject("KVWorkflowStep", "{\"$class\":\"Other\"}");
  KolvaneSDK::startWithProjectId("demo");
  EXPECT_EQ(controller().workflowStep(), nullptr);
  platform().defaults.setObject("KVWorkflowStep", 42);
  KolvaneSDK::startWithProjectId("demo");
  EXPECT_EQ(controller().workflowStep(), nullptr);
}

TEST_F(MainControllerTest, EditingNeedsAStepALoginAndTheRightToTranslate) {
  EXPECT_FALSE(controller().editionEnabled());
  saveStep(false);
  controller().loadSavedParameters();
  KVSession::sharedInstance().setToken({{"access_token", "t"}});
  EXPECT_FALSE(controller().editionEnabled());
  saveStep(true);
  controller().loadSavedParameters();
  EXPECT_TRUE(controller().editionEnabled());
  KVSession::sharedInstance().setToken(nullptr);
  EXPECT_FALSE(controller().editionEnabled());
}

TEST_F(MainControllerTest, ResetKeepsBaseStoreAndSwitches) {
  platform().defaults.setObject("KVLocale", "fr_FR");
  saveStep(true);
  KolvaneSDK::startWithProjectId("demo", {{"logging", 1}});
  const auto base = controller().baseLocaleStrings();
  controller().reset();
  EXPECT_EQ(controller().locale(), std::nullopt);
  EXPECT_EQ(controller().workflowStep(), nullptr);
  EXPECT_EQ(controller().baseLocaleStrings(), base);
  EXPECT_EQ(controller().appId(), "demo");
  EXPECT_TRUE(controller().log());
}

TEST_F(MainControllerTest, FilesFolderIsInTheDocumentsFolder) {
  EXPECT_EQ(KVMainController::kolvaneFilesFolder(), folder() + "/Documents/Kolvane");
}

}  // namespace
}  // namespace kolvane
