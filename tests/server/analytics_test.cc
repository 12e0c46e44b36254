#include "server/analytics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/main_controller.h"
#include "strings/base64.h"
#include "support/reviewer_fixture.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;

class AnalyticsTest : public testing::ReviewerTest {
 protected:
  void SetUp() override {
    testing::ReviewerTest::SetUp();
    analytics().waitUntilIdle();
    analytics().events.reset();
    analytics().lastSendDate.reset();
    analytics().timers.clear();
  }
  KVAnalytics& analytics() { return KVAnalytics::sharedInstance(); }
  KVAnalytics::Properties journal() {
    analytics().waitUntilIdle();
    return KVAnalytics::Properties::parse(*platform().files.readFile(analytics().saveFilePath()));
  }
  std::vector<std::string> keysOf(const KVAnalytics::Properties& object) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : object.items()) keys.push_back(key);
    return keys;
  }
};

TEST_F(AnalyticsTest, EventsCarryTheContextInOrderAndCallerKeysWin) {
  KVMainController::sharedInstance().startWithProjectId("demo", nullptr);
  KVAnalytics::trackEvent("opened");
  KVAnalytics::trackEvent("edited", {{"key", "a"}, {"platform", "Linux"}});
  const auto events = journal()["events"];
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["event"], "opened");
  EXPECT_THAT(keysOf(events[0]["properties"]),
              ElementsAre("time", "platform", "iosVersion", "device", "sdkVersion",
                          "systemLanguage", "systemRegionFormat", "projectId"));
  EXPECT_EQ(events[0]["properties"]["platform"], "iOS");
  EXPECT_EQ(events[0]["properties"]["device"], "test-device");
  EXPECT_EQ(events[0]["properties"]["time"], platform().clock.load());
  EXPECT_EQ(events[1]["properties"]["platform"], "Linux");
  EXPECT_EQ(keysOf(events[1]["properties"]).back(), "key");
}

TEST_F(AnalyticsTest, TimersMeasureFromTheSameStartEveryStop) {
  KVAnalytics::stopEventTimer("never-started");
  KVAnalytics::startEventTimer("review");
  platform().clock += 5;
  KVAnalytics::stopEventTimer("review", {{"cards", 3}});
  platform().clock += 2;
  KVAnalytics::stopEventTimer("review");
  const auto events = journal()["events"];
  ASSERT_EQ(events.size(), 3u);
  EXPECT_FALSE(events[0]["properties"].contains("duration"));
  EXPECT_EQ(events[1]["properties"]["duration"], 5.0);
  EXPECT_EQ(events[1]["properties"]["cards"], 3);
  EXPECT_EQ(events[2]["properties"]["duration"], 7.0);
}

TEST_F(AnalyticsTest, SendingIsThrottledToOnceADayAndKeepsTheJournal) {
  KVAnalytics::trackEvent("a");
  analytics().waitUntilIdle();
  const auto payload = analytics().sendEvents();
  ASSERT_TRUE(payload);
  const auto decoded = KVAnalytics::Properties::parse(*kv_dataWithBase64EncodedString(*payload));
  EXPECT_EQ(decoded[0]["event"], "a");
  EXPECT_EQ(analytics().lastSendDate, platform().clock.load());

  platform().clock += 3600;
  EXPECT_FALSE(analytics().sendEvents());
  platform().clock += 86400 - 3600;
  EXPECT_TRUE(analytics().sendEvents());
  EXPECT_EQ(analytics().events->size(), 1u);
}

TEST_F(AnalyticsTest, NothingToSendBuildsNoPayload) {
  analytics().clearSavedEvents();
  EXPECT_FALSE(analytics().sendEvents());
  EXPECT_EQ(analytics().lastSendDate, std::nullopt);
}

TEST_F(AnalyticsTest, JournalWithDateButNoEventsAndDamagedJournals) {
  FileSystem& files = platform().files;
  ASSERT_TRUE(files.writeFile(analytics().saveFilePath(), R"({"lastSent": 1234.5})"));
  analytics().loadSavedEvents();
  EXPECT_TRUE(analytics().events->empty());
  EXPECT_EQ(analytics().lastSendDate, 1234.5);

  analytics().lastSendDate.reset();
  ASSERT_TRUE(files.writeFile(analytics().saveFilePath(), "{\"events\": [1, 2"));
  analytics().loadSavedEvents();
  EXPECT_TRUE(analytics().events->empty());
  EXPECT_EQ(analytics().lastSendDate, std::nullopt);
}

TEST_F(AnalyticsTest, SavedJournalIsReadBeforeTheFirstNewEvent) {
  ASSERT_TRUE(platform().files.writeFile(
      analytics().saveFilePath(), R"({"events":[{"event":"old","properties":{}}],"lastSent":9})"));
  KVAnalytics::trackEvent("new");
  const auto saved = journal();
  EXPECT_EQ(saved["events"].size(), 2u);
  EXPECT_EQ(saved["events"][0]["event"], "old");
  EXPECT_EQ(saved["lastSent"], 9);
}

}  // namespace
}  // namespace kolvane
