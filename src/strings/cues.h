// Invisible cue marking: every string handed to the app is wrapped in invisible characters,
// and so is each format specifier inside it, so that the strings a displayed text was built
// from can be found again by position. Pure functions; safe from any thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kolvane/cues.h"
#include "strings/edition_item.h"

namespace kolvane {

// The characters that end a format specifier ("%" up to and including one of them).
inline constexpr std::u16string_view kFormatConversionLetters = u"@dDuUxXoOfeEgGcCsSpaAF";

// One string cue found in a text.
struct KVCue {
  enum Type : unsigned { kBegin = 0, kEnd = 1, kPlaceholderBegin = 2, kPlaceholderEnd = 3 };

  unsigned cueType = kBegin;
  std::size_t position = 0;  // in UTF-16 units

  // A character that is not a cue leaves the type at kBegin.
  static KVCue cueWithChar(char16_t character, std::size_t position);
  // "[", "]", "{", "}" or "<KVCue>".
  std::string description() const;
};

// Returns the replacement for one placeholder's content, or none to leave it empty.
using KVPlaceholderBlock = std::function<std::optional<std::u16string>(std::u16string_view)>;

// Calls `visit` with the content of each placeholder (between a placeholder begin cue and the
// next end cue, or the end of the text), in text order, empty contents included. Returns
// whether every placeholder was closed.
bool kv_forEachPlaceholder(std::u16string_view text,
                           const std::function<void(std::u16string_view)>& visit);

// The text with the content of every placeholder replaced by what `block` returns for it,
// the placeholder cues kept. The block is called in text order, never for an empty content.
std::u16string kv_enumerateCuesUsingBlock(std::u16string_view text,
                                          const KVPlaceholderBlock& block);

// The length of the Qt placeholder at `pos` ("%1" to "%99", "%L1" to "%L99", "%n", "%Ln"), or 0
// when there is none. "%N" followed by a position, a precision or length letters before a
// conversion ("%1$@", "%1.2f", "%2ld") is printf's; "%1d ago" and "%1h %2m" are Qt's.
std::size_t kv_qtPlaceholderLength(std::u16string_view text, std::size_t pos);

// The argument a placeholder with this specifier takes, from 0: N - 1 for "%N$..." and Qt's
// "%N" (N from 1), else `rank`, the placeholder's place among the format's placeholders.
std::size_t kv_argumentIndexOfSpecifier(std::u16string_view specifier, std::size_t rank);

// How deep marked strings may nest in one displayed text (a string formatted into a string
// formatted into a string...); deeper texts give no items.
inline constexpr std::size_t kv_maxCueNesting = 32;

// The marked strings in a displayed text, latest start first, with their nesting level.
// Cues that do not pair up, or nest deeper than kv_maxCueNesting, give no items.
std::vector<KVEditionItem> kv_localizedStringsInString(std::u16string_view text);

// The cues made visible as "{", "}", "[", "]", for logs and tools.
std::u16string kv_stringShowingCues(std::u16string_view text);

}  // namespace kolvane
