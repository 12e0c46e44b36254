// The text format of ".strings" tables as app projects write them:
//   /* comment */  "key" = "value";  // comment
// Keys and values may be unquoted when they are plain words. Pure; any thread.
#pragma once

#include <string_view>

#include "kolvane/platform.h"

namespace kolvane {

// Reads raw file bytes: UTF-8 (with or without a byte-order mark) or UTF-16 with a byte-order
// mark. A malformed table is an error naming the line, never a partial table.
StringsFileResult parseStringsText(std::string_view bytes);

// The bytes as UTF-16, honouring a UTF-16 or UTF-8 byte-order mark (default UTF-8).
std::u16string decodeTextFile(std::string_view bytes);

}  // namespace kolvane
