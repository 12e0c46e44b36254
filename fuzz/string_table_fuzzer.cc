// Any bytes as a table's image found on the device: opening must refuse them or give a table
// whose every record can be read, looked up and made into groups, never a crash.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "strings/string_table.h"

namespace {

using namespace kolvane;

void readEveryRecord(const KVStringTable& table) {
  for (std::uint32_t g = 0; g < table.groupCount(); ++g) {
    // A crafted image may leave a group out of the index (its strings are then not found);
    // what the index finds must be a group of that key.
    const std::string key(table.keyAt(g));
    const std::uint32_t found = table.find(key);
    if (found != KVStringTable::npos && table.keyAt(found) != key) std::abort();
    (void)table.defaultText(g);
    (void)table.textForCategory(g, "few");
    const auto group = table.makeGroup(g);
    if (!group) std::abort();
  }
  for (std::uint32_t f = 0; f < table.formCount(); ++f) {
    if (table.groupOfForm(f) >= table.groupCount()) std::abort();
    (void)table.formatOfForm(f);
    (void)table.categoryOfForm(f);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A valid image must carry the checksum of its contents; without fixing it up almost every
  // input would stop there, so the fuzzer writes the right one and lets the structure be tried.
  auto bytes = std::make_shared<std::string>(reinterpret_cast<const char*>(data), size);
  KVStringTable::sealImageForTesting(*bytes);
  if (const auto table = KVStringTable::fromImage(bytes, *bytes)) readEveryRecord(*table);
  return 0;
}
