// Placeholders shown as capsules in the edition screen, and an edited text turned back into a
// format.
#pragma once

#include <cstddef>
#include <string>

#include "kolvane/attributed_text.h"
#include "strings/string_record.h"

namespace kolvane {

// The record's text without its outer cues, at `size` points, each placeholder of a dynamic
// record as one capsule holding its specifier (blue while editing, grey otherwise).
KVAttributedText kv_stringWithCapsules(const KVString& string, double size, bool editing);

// The format of an edited text: each capsule becomes its placeholder between placeholder cues,
// the whole between the outer cues. `capsules` gets the number of capsules met.
std::u16string kv_formatFromEditedText(const KVAttributedText& text, std::size_t* capsules);

}  // namespace kolvane
