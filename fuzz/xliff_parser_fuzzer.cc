// Any bytes as a downloaded XLIFF file: the reader must report or read them, never crash, and
// what it read must write out and read back the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "strings/xliff_parser.h"
#include "strings/xliff_writer.h"

namespace {

using namespace kolvane;

// Every form written (not reported as a failure) reads back with its key, text and unit id.
void checkReadsBack(const KVStringGroups& strings, const KVWriteFailures& failures,
                    const KVStringGroups& reread) {
  for (const auto& [key, group] : strings) {
    if (!group) continue;
    for (const auto& [name, form] : group->pluralForms) {
      if (failures.count(form->key) != 0) continue;
      const auto back = reread.find(form->key);
      if (back == reread.end()) std::abort();
      const auto backForm = back->second->pluralForms.find(name);
      if (backForm == back->second->pluralForms.end()) std::abort();
      if (backForm->second->localizedFormat != form->localizedFormat) std::abort();
      if (backForm->second->uid != form->uid) std::abort();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  KVStringGroups sources;
  std::optional<KVError> error;
  const KVStringGroups strings = KVXliffParser::parseXliffData(bytes, &sources, 1, &error);
  if (error) return 0;
  KVWriteFailures failures;
  const std::string written = KVXliffWriter::xliffFromStrings(strings, {}, &failures);
  std::optional<KVError> rereadError;
  const KVStringGroups reread = KVXliffParser::parseXliffData(written, nullptr, 0, &rereadError);
  if (rereadError) std::abort();
  checkReadsBack(strings, failures, reread);
  return 0;
}
