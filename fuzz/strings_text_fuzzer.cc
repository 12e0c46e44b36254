// Any bytes as a ".strings" table in the text format: a table or an error naming a line.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/strings_text_format.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kolvane;
  const StringsFileResult result =
      parseStringsText(std::string_view(reinterpret_cast<const char*>(data), size));
  if (const auto* error = std::get_if<StringsFileError>(&result)) {
    if (error->message.rfind("line ", 0) != 0) std::abort();
  }
  return 0;
}
