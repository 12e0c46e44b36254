// XML and binary property lists, read through libplist. Any thread.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "kolvane/platform.h"

namespace kolvane {

// True when the bytes start as a binary or an XML property list rather than strings text.
bool looksLikePropertyList(std::string_view bytes);

// The string values of a property list whose root is a dictionary (other values are left
// out); none when the bytes are not such a property list.
std::optional<std::map<std::string, std::string>> readPropertyListStrings(std::string_view bytes);

// A ".strings" table in any of its forms: text, XML or binary property list.
StringsFileResult readStringsTable(std::string_view bytes);

}  // namespace kolvane
