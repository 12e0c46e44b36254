// Any server answer (status and body) through the answer handling, the error text, the
// workflows reading and the debug formatting: nothing may crash or throw.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/workflow_step.h"
#include "server/network.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const long status = data[0] * 2 + (data[1] & 1);  // 0..511 covers 200 and the failures
  const std::string_view body(reinterpret_cast<const char*>(data) + 2, size - 2);
  const auto answer = kolvane::KVNetwork::handleAnswer(status, body, std::nullopt);
  kolvane::KVNetwork::errorFromJson(answer.value, status);
  if (answer.value.is_object()) {
    const auto response = answer.value.find("response");
    if (response != answer.value.end() && response->is_object()) {
      const auto payload = response->find("data");
      if (payload != response->end()) kolvane::KVWorkflowStep::workflowsFromDictionary(*payload);
    }
  }
  kolvane::KVHttpRequest request{"GET", "https://example.invalid/x", {}, std::string(body), 0};
  kolvane::KVNetwork::debugRequest(request, status, answer.error, answer.value);
  return 0;
}
