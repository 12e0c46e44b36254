#include "json_output.h"

#include <cstdio>

#include "base/utf.h"
#include "strings/cues.h"

namespace kolvane::cli {

std::string shown(std::u16string_view text) { return toUtf8(kv_stringShowingCues(text)); }

void printLine(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
}

void printJson(const nlohmann::json& value) {
  printLine(value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

}  // namespace kolvane::cli
