// Printing for the kolvane tool: UTF-8 lines and single JSON values on stdout.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace kolvane::cli {

// A text with its cues made visible as brackets, as UTF-8.
std::string shown(std::u16string_view text);

void printLine(std::string_view text);
// One JSON value on one line; invalid UTF-8 from damaged input is replaced, never fatal.
void printJson(const nlohmann::json& value);

}  // namespace kolvane::cli
