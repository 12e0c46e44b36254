// Any bytes as a ".strings" table or an Info.plist, property lists included: a table or an
// error, never a crash, whatever the nesting or the sharing of a binary list's objects.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/linux/property_list.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  kolvane::readStringsTable(bytes);
  kolvane::readPropertyListStrings(bytes);
  return 0;
}
