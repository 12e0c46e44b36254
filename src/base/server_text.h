// Texts taken from a server answer or a token (display names, e-mails, workflow and step
// names, error codes): how big Kolvane lets them be, and how the tool shows them.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"

namespace kolvane {

// Longer texts are refused with the whole answer: a megabyte of display name costs seconds of
// layout on the main thread, and an oversized token would be sent back on every request.
inline constexpr std::size_t kKVMaxServerNameBytes = 1024;  // names, e-mails, error codes
inline constexpr std::size_t kKVMaxServerIdBytes = 256;     // user, workflow, step, locale ids
inline constexpr std::size_t kKVMaxServerTokenBytes = 16 * 1024;  // access and refresh tokens

struct KVFieldBound {
  const char* name;
  std::size_t maxBytes;
};

// An error in words naming the first of `fields` whose text in `object` is longer than its
// bound; none when every one fits (or is missing, or is not a text). `answer` names what was
// refused ("The sign-in answer").
std::optional<KVError> kv_oversizedFieldError(const nlohmann::json& object,
                                              std::initializer_list<KVFieldBound> fields,
                                              std::string_view answer);

// The error with which an answer holding more than `limit` of `what` ("workflow steps") is
// refused.
KVError kv_answerOverLimitError(std::string_view answer, std::string_view what, std::size_t limit);

// The text as the tool shows it: in a first-strong isolate, so that a direction it carries
// never turns the text around it, with control characters (other than line and tab breaks)
// shown as U+FFFD and explicit direction overrides, embeddings and isolates dropped, so that
// none closes the isolate early. Empty stays empty.
std::u16string kv_shownServerText(std::string_view utf8);
std::u16string kv_shownServerText(std::u16string_view text);

}  // namespace kolvane
