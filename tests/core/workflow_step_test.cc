#include "core/workflow_step.h"

#include <gtest/gtest.h>

namespace kolvane {
namespace {

nlohmann::json stepJson(const std::string& name, nlohmann::json pairs = nlohmann::json::array()) {
  return {{"workflowStepName", name},
          {"workflowStepUid", name + "-uid"},
          {"workflowStepClass", "TRANSLATION"},
          {"localePairs", std::move(pairs)}};
}

TEST(WorkflowStepTest, StepsOfAllWorkflowsInAnswerOrder) {
  const nlohmann::json data = {
      {"items",
       {{{"workflowName", "First"},
         {"workflowUid", "w1"},
         {"workflowSteps", {stepJson("a"), stepJson("b")}}},
        {{"workflowName", "Second"},
         {"workflowUid", "w2"},
         {"workflowSteps", {stepJson("c"), stepJson("d"), stepJson("e")}}}}}};
  const auto steps = KVWorkflowStep::workflowsFromDictionary(data);
  ASSERT_EQ(steps.size(), 5u);
  EXPECT_EQ(steps[1]->name, "b");
  EXPECT_EQ(steps[1]->workflowName, "First");
  EXPECT_EQ(steps[4]->uid, "e-uid");
  EXPECT_EQ(steps[4]->workflowUid, "w2");
  EXPECT_FALSE(steps[0]->canTranslate);  // no "permissions"
}

TEST(WorkflowStepTest, MalformedAnswersGiveNoSteps) {
  EXPECT_TRUE(KVWorkflowStep::workflowsFromDictionary(nullptr).empty());
  EXPECT_TRUE(KVWorkflowStep::workflowsFromDictionary({{"items", "x"}}).empty());
  EXPECT_TRUE(
      KVWorkflowStep::workflowsFromDictionary({{"items", {1, {{"workflowSteps", 2}}}}}).empty());
}

TEST(WorkflowStepTest, UnusableLocalePairsAreDropped) {
  const auto step = KVWorkflowStep::stepWithDictionary(
      stepJson("s", {{{"sourceLocaleId", "en-US"}, {"targetLocaleId", "fr-FR"}},
                     {{"sourceLocaleId", "en-US"}, {"targetLocaleId", "??"}},
                     {{"sourceLocaleId", "en-US"}},
                     {{"sourceLocaleId", "en-US"}, {"targetLocaleId", 7}},
                     {{"sourceLocaleId", "jm-JM"}, {"targetLocaleId", "de"}}}),
      "W", "w");
  ASSERT_EQ(step->localePairs.size(), 2u);
  EXPECT_EQ(step->localePairs[0].target.localeIdentifier(), "fr_FR");
  EXPECT_EQ(step->localePairs[1].source.localeIdentifier(), "en_JM");
}

TEST(WorkflowStepTest, ArchivingKeepsAllNineProperties) {
  nlohmann::json json = stepJson("s", {{{"sourceLocaleId", "en"}, {"targetLocaleId", "fr-FR"}}});
  json["permissions"] = {
      {"canTranslateStrings", true}, {"canSubmitStrings", false}, {"canRejectStrings", true}};
  const auto step = KVWorkflowStep::stepWithDictionary(json, "Workflow", "wf-1");
  const auto restored = KVWorkflowStep::unarchive(step->archivedData());
  ASSERT_NE(restored, nullptr);
  EXPECT_EQ(*restored, *step);
  EXPECT_TRUE(restored->canTranslate);
  EXPECT_TRUE(restored->canReject);
}

TEST(WorkflowStepTest, UnarchivingForeignDataGivesNothing) {
  EXPECT_EQ(KVWorkflowStep::unarchive(""), nullptr);
  EXPECT_EQ(KVWorkflowStep::unarchive("[1,2]"), nullptr);
  EXPECT_EQ(KVWorkflowStep::unarchive("{\"$class\":\"KVString\"}"), nullptr);
  const auto partial = KVWorkflowStep::unarchive(
      R"({"$class":"KVWorkflowStep","name":7,"canSubmit":"yes","localePairs":{"a":1}})");
  ASSERT_NE(partial, nullptr);
  EXPECT_EQ(partial->name, "");
  EXPECT_FALSE(partial->canSubmit);
  EXPECT_TRUE(partial->localePairs.empty());
}

}  // namespace
}  // namespace kolvane
