#include "capture/text_problems.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "kolvane/cues.h"

namespace kolvane {
namespace {

// Half a pixel of rounding between a measured width and a laid-out one.
constexpr double kTolerance = 0.5;
// Words of letters this short may stand beside numbers in data: units, months, days.
constexpr std::size_t kShortWord = 3;

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

bool isSpace(char16_t c) {
  return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\u00A0' || c == u'\u2028' ||
         c == u'\u202F';
}

// Letters of any script, told apart from the punctuation and symbol blocks without a
// character database: what counts is that a word holds wording, not which letters.
bool isLetter(char16_t c) {
  if (c < 0x80) return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
  if (c < 0xC0 || c == 0xD7 || c == 0xF7) return false;
  const bool punctuationOrSymbols = (c >= 0x2000 && c <= 0x2BFF) || (c >= 0x3000 && c <= 0x303F) ||
                                    (c >= 0xFE30 && c <= 0xFE4F) || (c >= 0xFF00 && c <= 0xFF0F) ||
                                    (c >= 0xFF1A && c <= 0xFF20) || (c >= 0xD800 && c <= 0xDFFF);
  return !punctuationOrSymbols;
}

std::vector<std::u16string_view> split(std::u16string_view text, bool (*separator)(char16_t)) {
  std::vector<std::u16string_view> parts;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || separator(text[i])) {
      if (i > start) parts.push_back(text.substr(start, i - start));
      start = i + 1;
    }
  }
  return parts;
}

bool isLineBreak(char16_t c) { return c == u'\n' || c == u'\u2028'; }

bool looksLikeAddress(std::u16string_view text) {
  if (std::any_of(text.begin(), text.end(), isSpace)) return false;
  const std::size_t at = text.find(u'@');
  const bool email =
      at != std::u16string_view::npos && at > 0 && text.find(u'.', at) != std::u16string_view::npos;
  const bool url = text.find(u"://") != std::u16string_view::npos || text.starts_with(u"www.");
  const bool path = text.starts_with(u"/") || text.starts_with(u"~/");
  return email || url || path;
}

// Lines the text takes when wrapped at word boundaries in `width`; none when a word alone is
// wider than the box.
std::optional<std::size_t> wrappedLines(std::u16string_view line, const KVTextBox& box) {
  std::size_t lines = 1;
  std::u16string current;
  for (std::u16string_view word : split(line, isSpace)) {
    if (box.advance(word) > box.width + kTolerance) return std::nullopt;
    std::u16string longer =
        current.empty() ? std::u16string(word) : current + u' ' + std::u16string(word);
    if (!current.empty() && box.advance(longer) > box.width + kTolerance) {
      ++lines;
      longer = std::u16string(word);
    }
    current = std::move(longer);
  }
  return lines;
}

}  // namespace

bool kv_looksLikeData(std::u16string_view text) {
  std::size_t digits = 0;
  std::size_t letters = 0;
  for (char16_t c : text) {
    digits += isDigit(c) ? 1 : 0;
    letters += isLetter(c) ? 1 : 0;
  }
  if (letters == 0) return true;
  if (looksLikeAddress(text)) return true;
  if (digits == 0 || digits < letters) return false;
  for (std::u16string_view word : split(text, isSpace)) {
    const auto wordLetters =
        static_cast<std::size_t>(std::count_if(word.begin(), word.end(), isLetter));
    if (wordLetters > kShortWord) return false;
  }
  return true;
}

bool kv_textOverflowsBox(std::u16string_view text, const KVTextBox& box) {
  if (!box.advance || box.width <= 0) return false;
  std::size_t lines = 0;
  for (std::u16string_view line : split(text, isLineBreak)) {
    // Measuring is the costly part (shaping): a line short enough at the font's widest
    // character takes one line of the box whatever its letters.
    if (box.widestCharacter > 0 &&
        static_cast<double>(line.size()) * box.widestCharacter <= box.width) {
      ++lines;
      continue;
    }
    if (!box.wordWrap) {
      if (box.advance(line) > box.width + kTolerance) return true;
      ++lines;
      continue;
    }
    const auto taken = wrappedLines(line, box);
    if (!taken) return true;
    lines += *taken;
  }
  return box.lineHeight > 0 && box.height > 0 &&
         static_cast<double>(lines) * box.lineHeight > box.height + kTolerance;
}

bool kv_textWasElided(std::u16string_view cuedText) {
  if (cuedText.find(u'\u2026') == std::u16string_view::npos) return false;
  const auto begins = std::count(cuedText.begin(), cuedText.end(), kv_beginCue);
  const auto ends = std::count(cuedText.begin(), cuedText.end(), kv_endCue);
  return begins > ends;
}

}  // namespace kolvane
