#include "core/workflow_step.h"

#include <optional>
#include <unordered_set>

#include "base/keyed_archive.h"
#include "base/server_text.h"
#include "core/locale_identifiers.h"

namespace kolvane {
namespace {

constexpr std::string_view kArchiveClass = "KVWorkflowStep";

std::string stringValue(const nlohmann::json& object, std::string_view key) {
  if (!object.is_object()) return {};
  const auto value = object.find(key);
  return (value != object.end() && value->is_string()) ? value->get<std::string>() : std::string();
}

bool boolValue(const nlohmann::json& object, std::string_view key) {
  const auto value = object.find(key);
  if (value == object.end()) return false;
  if (value->is_boolean()) return value->get<bool>();
  if (value->is_number()) return value->get<double>() != 0;
  return false;
}

std::optional<Locale> localeFor(const nlohmann::json& pair, std::string_view key) {
  const auto value = pair.find(key);
  if (value == pair.end() || !value->is_string()) return std::nullopt;
  return localeFromKolvanIdentifier(value->get_ref<const std::string&>());
}

std::vector<KVLocalePair> localePairsFrom(const nlohmann::json& pairs) {
  std::vector<KVLocalePair> result;
  if (!pairs.is_array()) return result;
  for (const auto& pair : pairs) {
    if (!pair.is_object()) continue;
    auto source = localeFor(pair, "sourceLocaleId");
    auto target = localeFor(pair, "targetLocaleId");
    if (source && target) result.push_back({*source, *target});
  }
  return result;
}

const nlohmann::json& member(const nlohmann::json& object, std::string_view key) {
  static const nlohmann::json kNull;
  if (!object.is_object()) return kNull;
  const auto value = object.find(key);
  return value != object.end() ? *value : kNull;
}

constexpr std::string_view kWorkflowsAnswer = "The answer with the project's workflows";

std::optional<KVError> oversizedWorkflowField(const nlohmann::json& workflow) {
  return kv_oversizedFieldError(
      workflow, {{"workflowName", kKVMaxServerNameBytes}, {"workflowUid", kKVMaxServerIdBytes}},
      kWorkflowsAnswer);
}

std::optional<KVError> oversizedStepField(const nlohmann::json& step) {
  return kv_oversizedFieldError(step,
                                {{"workflowStepName", kKVMaxServerNameBytes},
                                 {"workflowStepUid", kKVMaxServerIdBytes},
                                 {"workflowStepClass", kKVMaxServerIdBytes}},
                                kWorkflowsAnswer);
}

}  // namespace

std::optional<KVError> KVWorkflowStep::answerBoundsError(const nlohmann::json& data) {
  const nlohmann::json& items = member(data, "items");
  if (!items.is_array()) return std::nullopt;
  if (items.size() > kMaxWorkflows) {
    return kv_answerOverLimitError(kWorkflowsAnswer, "workflows", kMaxWorkflows);
  }
  std::size_t steps = 0;
  std::size_t pairs = 0;
  std::unordered_set<std::string> locales;
  for (const auto& workflow : items) {
    if (auto error = oversizedWorkflowField(workflow)) return error;
    const nlohmann::json& workflowSteps = member(workflow, "workflowSteps");
    if (!workflowSteps.is_array()) continue;
    if ((steps += workflowSteps.size()) > kMaxSteps) {
      return kv_answerOverLimitError(kWorkflowsAnswer, "workflow steps", kMaxSteps);
    }
    for (const auto& step : workflowSteps) {
      if (auto error = oversizedStepField(step)) return error;
      const nlohmann::json& localePairs = member(step, "localePairs");
      if (!localePairs.is_array()) continue;
      if ((pairs += localePairs.size()) > kMaxLocalePairs) {
        return kv_answerOverLimitError(kWorkflowsAnswer, "locale pairs", kMaxLocalePairs);
      }
      for (const auto& pair : localePairs) {
        for (const char* key : {"sourceLocaleId", "targetLocaleId"}) {
          const nlohmann::json& id = member(pair, key);
          if (!id.is_string()) continue;
          if (id.get_ref<const std::string&>().size() > kKVMaxServerIdBytes) {
            return kv_oversizedFieldError(pair, {{key, kKVMaxServerIdBytes}}, kWorkflowsAnswer);
          }
          locales.insert(id.get<std::string>());
        }
        if (locales.size() > kMaxLocales) {
          return kv_answerOverLimitError(kWorkflowsAnswer, "languages", kMaxLocales);
        }
      }
    }
  }
  return std::nullopt;
}

std::vector<std::shared_ptr<KVWorkflowStep>> KVWorkflowStep::workflowsFromDictionary(
    const nlohmann::json& data) {
  std::vector<std::shared_ptr<KVWorkflowStep>> steps;
  const nlohmann::json& items = member(data, "items");
  if (!items.is_array()) return steps;
  for (const auto& workflow : items) {
    const std::string workflowName = stringValue(workflow, "workflowName");
    const std::string workflowUid = stringValue(workflow, "workflowUid");
    const nlohmann::json& workflowSteps = member(workflow, "workflowSteps");
    if (!workflowSteps.is_array()) continue;
    for (const auto& step : workflowSteps) {
      if (step.is_object()) steps.push_back(stepWithDictionary(step, workflowName, workflowUid));
    }
  }
  return steps;
}

std::shared_ptr<KVWorkflowStep> KVWorkflowStep::stepWithDictionary(const nlohmann::json& step,
                                                                   std::string_view workflowName,
                                                                   std::string_view workflowUid) {
  auto made = std::make_shared<KVWorkflowStep>();
  made->name = stringValue(step, "workflowStepName");
  made->uid = stringValue(step, "workflowStepUid");
  made->stepClass = stringValue(step, "workflowStepClass");
  made->localePairs = localePairsFrom(member(step, "localePairs"));
  if (const nlohmann::json& permissions = member(step, "permissions"); permissions.is_object()) {
    made->canTranslate = boolValue(permissions, "canTranslateStrings");
    made->canSubmit = boolValue(permissions, "canSubmitStrings");
    made->canReject = boolValue(permissions, "canRejectStrings");
  }
  made->workflowName = workflowName;
  made->workflowUid = workflowUid;
  return made;
}

std::string KVWorkflowStep::archivedData() const {
  KeyedArchiver archiver(kArchiveClass);
  archiver.encode("workflowName", workflowName);
  archiver.encode("workflowUid", workflowUid);
  archiver.encode("name", name);
  archiver.encode("uid", uid);
  archiver.encode("stepClass", stepClass);
  archiver.encode("canTranslate", canTranslate);
  archiver.encode("canSubmit", canSubmit);
  archiver.encode("canReject", canReject);
  nlohmann::json pairs = nlohmann::json::array();
  for (const KVLocalePair& pair : localePairs) {
    pairs.push_back(
        {{"source", pair.source.localeIdentifier()}, {"target", pair.target.localeIdentifier()}});
  }
  archiver.encode("localePairs", std::move(pairs));
  return archiver.archivedData();
}

std::shared_ptr<KVWorkflowStep> KVWorkflowStep::unarchive(std::string_view data) {
  const auto unarchiver = KeyedUnarchiver::forData(data, kArchiveClass);
  if (!unarchiver) return nullptr;
  auto step = std::make_shared<KVWorkflowStep>();
  step->workflowName = unarchiver->decodeString("workflowName");
  step->workflowUid = unarchiver->decodeString("workflowUid");
  step->name = unarchiver->decodeString("name");
  step->uid = unarchiver->decodeString("uid");
  step->stepClass = unarchiver->decodeString("stepClass");
  step->canTranslate = unarchiver->decodeBool("canTranslate");
  step->canSubmit = unarchiver->decodeBool("canSubmit");
  step->canReject = unarchiver->decodeBool("canReject");
  const nlohmann::json pairs = unarchiver->decodeObject("localePairs");
  if (pairs.is_array()) {
    for (const auto& pair : pairs) {
      const std::string source = stringValue(pair, "source");
      const std::string target = stringValue(pair, "target");
      if (!source.empty() && !target.empty())
        step->localePairs.push_back({Locale(source), Locale(target)});
    }
  }
  return step;
}

}  // namespace kolvane
