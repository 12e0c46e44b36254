// KVWorkflowStep: one step of a project workflow, with the reviewer's permissions in it and
// the locale pairs it covers. Archivable, so the chosen step survives restarts.
// A plain record; share it read-only between threads.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "kolvane/locale.h"

namespace kolvane {

struct KVLocalePair {
  Locale source;
  Locale target;
  bool operator==(const KVLocalePair&) const = default;
};

class KVWorkflowStep {
 public:
  std::string workflowName;
  std::string workflowUid;
  std::string name;
  std::string uid;
  std::string stepClass;
  bool canTranslate = false;
  bool canSubmit = false;
  bool canReject = false;
  std::vector<KVLocalePair> localePairs;

  // Every step of every workflow of the answer's "items", workflow by workflow, in order.
  // Anything that is not of the expected shape is skipped.
  static std::vector<std::shared_ptr<KVWorkflowStep>> workflowsFromDictionary(
      const nlohmann::json& data);
  // What a workflows answer may hold; an answer with more is refused as a whole, so that no
  // list the reviewer opens grows without bound.
  static constexpr std::size_t kMaxWorkflows = 1'000;
  static constexpr std::size_t kMaxSteps = 10'000;         // of all workflows together
  static constexpr std::size_t kMaxLocales = 1'000;        // different locale ids in all the pairs
  static constexpr std::size_t kMaxLocalePairs = 100'000;  // of all steps together
  // An error in words when the answer holds more than the bounds above, or a name or id longer
  // than a server text may be; none when Kolvane takes it.
  static std::optional<KVError> answerBoundsError(const nlohmann::json& data);
  // A step from one entry of a workflow's "workflowSteps". Locale pairs with a missing or
  // unusable id are dropped; without "permissions" the step grants nothing.
  static std::shared_ptr<KVWorkflowStep> stepWithDictionary(const nlohmann::json& step,
                                                            std::string_view workflowName,
                                                            std::string_view workflowUid);

  std::string archivedData() const;
  // None when `data` is not an archived step.
  static std::shared_ptr<KVWorkflowStep> unarchive(std::string_view data);

  bool operator==(const KVWorkflowStep&) const = default;
};

}  // namespace kolvane
