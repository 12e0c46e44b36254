// Any bytes as a downloaded XLIFF file: the reader must report or read them, never crash, and
// what it read must write out and read again.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "strings/xliff_parser.h"
#include "strings/xliff_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kolvane;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  KVStringGroups sources;
  std::optional<KVError> error;
  const KVStringGroups strings = KVXliffParser::parseXliffData(bytes, &sources, 1, &error);
  KVWriteFailures failures;
  const std::string written = KVXliffWriter::xliffFromStrings(strings, &failures);
  KVXliffParser::parseXliffData(written, 0, &error);
  return 0;
}
