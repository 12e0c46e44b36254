#include "core/workflow_step.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kolvane {
namespace {

using ::testing::HasSubstr;

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

TEST(WorkflowStepTest, AnswersBeyondTheBoundsAreRefusedAsAWhole) {
  EXPECT_EQ(KVWorkflowStep::answerBoundsError(nullptr), std::nullopt);
  const auto refusal = [](const nlohmann::json& data) {
    const auto error = KVWorkflowStep::answerBoundsError(data);
    return error ? error->localizedDescription : std::string();
  };
  nlohmann::json workflows = nlohmann::json::array();
  for (std::size_t i = 0; i <= KVWorkflowStep::kMaxWorkflows; ++i) workflows.push_back({});
  EXPECT_THAT(refusal({{"items", workflows}}), HasSubstr("more than 1,000 workflows"));
  workflows.erase(workflows.begin());
  EXPECT_EQ(refusal({{"items", workflows}}), "");

  nlohmann::json pairs = nlohmann::json::array();
  for (std::size_t i = 0; i <= KVWorkflowStep::kMaxLocales / 2; ++i) {
    pairs.push_back(
        {{"sourceLocaleId", "s" + std::to_string(i)}, {"targetLocaleId", "t" + std::to_string(i)}});
  }
  const auto oneStep = [](nlohmann::json step) {
    return nlohmann::json{{"items", {{{"workflowSteps", {std::move(step)}}}}}};
  };
  EXPECT_THAT(refusal(oneStep({{"localePairs", pairs}})), HasSubstr("more than 1,000 languages"));
  EXPECT_THAT(refusal(oneStep({{"workflowStepName", std::string(1025, 'x')}})),
              HasSubstr("\"workflowStepName\" is longer than 1,024 bytes"));
  EXPECT_THAT(refusal(oneStep({{"localePairs", {{{"targetLocaleId", std::string(257, 'x')}}}}})),
              HasSubstr("\"targetLocaleId\" is longer than 256 bytes"));
}

}  // namespace
}  // namespace kolvane
