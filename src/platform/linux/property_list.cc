#include "platform/linux/property_list.h"

#include <plist/plist.h>

#include <cstdlib>
#include <limits>
#include <memory>

#include "base/utf.h"
#include "platform/linux/property_list_bounds.h"
#include "platform/strings_text_format.h"

namespace kolvane {
namespace {

struct PlistFree {
  void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

// Takes ownership of a string libplist allocated.
std::string takeString(char* text) {
  std::string result = text ? text : "";
  std::free(text);
  return result;
}

std::string_view withoutLeadingSpace(std::string_view bytes) {
  if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  return first == std::string_view::npos ? std::string_view() : bytes.substr(first);
}

}  // namespace

bool looksLikePropertyList(std::string_view bytes) {
  if (bytes.substr(0, 8) == "bplist00") return true;
  const std::string_view text = withoutLeadingSpace(bytes);
  return text.substr(0, 5) == "<?xml" || text.substr(0, 9) == "<!DOCTYPE" ||
         text.substr(0, 6) == "<plist";
}

std::optional<std::map<std::string, std::string>> readPropertyListStrings(std::string_view bytes) {
  if (bytes.empty() || !propertyListWithinBounds(bytes)) return std::nullopt;
  plist_t raw = nullptr;
  plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &raw);
  PlistPtr root(raw);
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;

  std::map<std::string, std::string> values;
  plist_dict_iter iter = nullptr;
  plist_dict_new_iter(root.get(), &iter);
  while (iter != nullptr) {
    char* key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(root.get(), iter, &key, &value);
    if (key == nullptr) break;
    std::string name = takeString(key);
    if (value != nullptr && plist_get_node_type(value) == PLIST_STRING) {
      char* text = nullptr;
      plist_get_string_val(value, &text);
      values[std::move(name)] = takeString(text);
    }
  }
  std::free(iter);
  return values;
}

StringsFileResult readStringsTable(std::string_view bytes) {
  if (!looksLikePropertyList(bytes)) return parseStringsText(bytes);
  auto values = readPropertyListStrings(bytes);
  if (!values) return StringsFileError{"not a property list of strings"};
  StringsTable table;
  for (auto& [key, text] : *values) table[key] = toUtf16(text);
  return table;
}

}  // namespace kolvane
