// A string record made as the readers make one: its text marked with cues.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "strings/cues.h"
#include "strings/string_record.h"

namespace kolvane::testing {

inline std::shared_ptr<KVString> markedForm(const std::string& key,
                                            std::optional<std::string> plural,
                                            std::u16string_view text, const std::string& uid = "") {
  auto string = std::make_shared<KVString>();
  string->key = key;
  string->uid = uid;
  string->pluralForm = std::move(plural);
  string->extractFormatFromString(kv_stringWithCues(text));
  return string;
}

}  // namespace kolvane::testing
