#include "strings/cues.h"

#include <algorithm>

#include "base/log.h"
#include "base/utf.h"

namespace kolvane {
namespace {

constexpr std::u16string_view kLiteralPercent = u"%%";

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Whether what follows "%N" makes it printf's: a position ("%1$@"), a precision ("%1.2f"), or
// length letters right before a conversion ("%2ld"). "%1d ago" or "%1h %2m left" are Qt's:
// Qt apps write units after their placeholders.
bool continuesPrintfWidth(std::u16string_view text, std::size_t at) {
  if (at >= text.size()) return false;
  const char16_t c = text[at];
  if (c == u'$') return true;
  if (c == u'.') return at + 1 < text.size() && (isDigit(text[at + 1]) || text[at + 1] == u'*');
  std::size_t letter = at;
  while (letter < text.size() && letter < at + 2 &&
         std::u16string_view(u"hlqLzjt").find(text[letter]) != std::u16string_view::npos) {
    ++letter;
  }
  return letter > at && letter < text.size() &&
         kFormatConversionLetters.find(text[letter]) != std::u16string_view::npos;
}

}  // namespace

std::size_t kv_qtPlaceholderLength(std::u16string_view text, std::size_t pos) {
  if (pos + 1 >= text.size() || text[pos] != u'%') return 0;
  std::size_t at = pos + 1;
  const bool localized = text[at] == u'L';
  if (localized) ++at;
  if (at < text.size() && text[at] == u'n') return at + 1 - pos;
  if (at >= text.size() || text[at] < u'1' || text[at] > u'9') return 0;
  ++at;
  if (at < text.size() && isDigit(text[at])) ++at;
  // "%1$@", "%2ld" or "%1.2f" are printf's; "%L2" is Qt's whatever follows.
  if (!localized && continuesPrintfWidth(text, at)) return 0;
  return at - pos;
}

namespace {

// Appends the marked form of the specifier starting at `pos` (a "%") and returns where the
// scan goes on: a Qt placeholder ("%1", "%L1", "%n"), else printf's up to its conversion
// letter. Without a conversion letter up to the end the rest is kept as literal text.
std::size_t appendSpecifier(std::u16string_view text, std::size_t pos, std::u16string& body) {
  const std::size_t qtLength = kv_qtPlaceholderLength(text, pos);
  const std::size_t letter =
      qtLength > 0 ? pos + qtLength - 1 : text.find_first_of(kFormatConversionLetters, pos);
  if (letter == std::u16string_view::npos) {
    body += text.substr(pos);
    return text.size();
  }
  body += kv_placeholderBeginCue;
  body += text.substr(pos, letter + 1 - pos);
  body += kv_placeholderEndCue;
  return letter + 1;
}

void logDebugWithText(std::string_view format, std::u16string_view text) {
  if (!debugEnabled()) return;
  std::string message(format);
  message += toUtf8(kv_stringShowingCues(text));
  kvLog(message);
}

std::vector<KVCue> stringCuesIn(std::u16string_view text) {
  std::vector<KVCue> cues;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == kv_beginCue || text[i] == kv_endCue) {
      cues.push_back(KVCue::cueWithChar(text[i], i));
    }
  }
  return cues;
}

// Pairs each end cue with the nearest begin cue still open before it, innermost first, in one
// pass. An item's level is the number of strings open at its end (itself included). False when
// the cues do not pair up (an end cue with nothing open, a begin cue never closed) or nest
// deeper than kv_maxCueNesting: each level copies its text, so a hostile text nested tens of
// thousands deep would cost time and memory quadratic in its length.
bool pairNestedCues(std::u16string_view text, const std::vector<KVCue>& cues,
                    std::vector<KVEditionItem>& items) {
  std::vector<std::size_t> open;
  for (const KVCue& cue : cues) {
    if (cue.cueType != KVCue::kEnd) {
      if (open.size() == kv_maxCueNesting) return false;
      open.push_back(cue.position);
      continue;
    }
    if (open.empty()) return false;
    const std::size_t start = open.back();
    const std::size_t length = cue.position - start + 1;
    items.push_back({std::u16string(text.substr(start, length)),
                     {start, length},
                     static_cast<unsigned>(open.size()),
                     nullptr,
                     std::nullopt});
    open.pop_back();
  }
  return open.empty();
}

}  // namespace

KVCue KVCue::cueWithChar(char16_t character, std::size_t position) {
  KVCue cue;
  cue.position = position;
  if (character == kv_beginCue) cue.cueType = kBegin;
  if (character == kv_endCue) cue.cueType = kEnd;
  if (character == kv_placeholderBeginCue) cue.cueType = kPlaceholderBegin;
  if (character == kv_placeholderEndCue) cue.cueType = kPlaceholderEnd;
  return cue;
}

std::string KVCue::description() const {
  switch (cueType) {
    case kBegin:
      return "[";
    case kEnd:
      return "]";
    case kPlaceholderBegin:
      return "{";
    case kPlaceholderEnd:
      return "}";
    default:
      return "<KVCue>";
  }
}

std::u16string kv_stringWithCues(std::u16string_view text) {
  if (!text.empty() && text.front() == kv_beginCue) return std::u16string(text);
  std::u16string body;
  body.reserve(text.size() + 2);
  body += kv_beginCue;
  std::size_t pos = 0;
  while (pos < text.size()) {
    const std::size_t percent = std::min(text.find(u'%', pos), text.size());
    body += text.substr(pos, percent - pos);
    pos = percent;
    if (pos >= text.size()) break;
    // "%%" counts as a literal percent only when more text follows it.
    if (pos + 2 < text.size() && text.substr(pos, 2) == kLiteralPercent) {
      body += kLiteralPercent;
      pos += 2;
      continue;
    }
    pos = appendSpecifier(text, pos, body);
  }
  body += kv_endCue;
  return body;
}

namespace {

// Walks the text as runs of plain text and placeholder contents.
template <typename OnText, typename OnPlaceholder>
bool walkPlaceholders(std::u16string_view text, OnText onText, OnPlaceholder onPlaceholder) {
  bool allClosed = true;
  std::size_t pos = 0;
  while (pos < text.size()) {
    const std::size_t open = std::min(text.find(kv_placeholderBeginCue, pos), text.size());
    onText(text.substr(pos, open - pos));
    if (open >= text.size()) break;
    const std::size_t contentStart = open + 1;
    const std::size_t close = std::min(text.find(kv_placeholderEndCue, contentStart), text.size());
    onPlaceholder(text.substr(contentStart, close - contentStart));
    allClosed = close < text.size();
    pos = allClosed ? close + 1 : close;
  }
  return allClosed;
}

}  // namespace

bool kv_forEachPlaceholder(std::u16string_view text,
                           const std::function<void(std::u16string_view)>& visit) {
  return walkPlaceholders(
      text, [](std::u16string_view) {}, visit);
}

std::u16string kv_enumerateCuesUsingBlock(std::u16string_view text,
                                          const KVPlaceholderBlock& block) {
  if (text.find(kv_placeholderBeginCue) == std::u16string_view::npos) return std::u16string(text);
  std::u16string output;
  output.reserve(text.size());
  walkPlaceholders(
      text, [&](std::u16string_view plain) { output += plain; },
      [&](std::u16string_view content) {
        output += kv_placeholderBeginCue;
        if (!content.empty() && block) {
          if (auto replacement = block(content)) output += *replacement;
        }
        output += kv_placeholderEndCue;
      });
  return output;
}

std::vector<KVEditionItem> kv_localizedStringsInString(std::u16string_view text) {
  const std::vector<KVCue> cues = stringCuesIn(text);
  if (cues.empty()) {
    logDebugWithText("No cues found in ", text);
    return {};
  }
  if (cues.size() % 2 != 0) {
    logDebugWithText("Incorrect number of cues found in ", text);
    return {};
  }
  if (cues.size() == 2) return {{std::u16string(text), {0, text.size()}, 1, nullptr, std::nullopt}};

  std::vector<KVEditionItem> items;
  if (!pairNestedCues(text, cues, items)) {
    logDebugWithText("Incorrect number of cues found in ", text);
    return {};
  }
  std::stable_sort(items.begin(), items.end(), [](const auto& a, const auto& b) {
    return a.range.location > b.range.location;
  });
  if (debugEnabled()) {
    kvLog(std::to_string(items.size()) + " juxtaposed strings found in " +
          toUtf8(kv_stringShowingCues(text)));
  }
  return items;
}

std::u16string kv_stringShowingCues(std::u16string_view text) {
  std::u16string shown(text);
  for (char16_t& c : shown) {
    if (c == kv_placeholderBeginCue)
      c = u'{';
    else if (c == kv_placeholderEndCue)
      c = u'}';
    else if (c == kv_beginCue)
      c = u'[';
    else if (c == kv_endCue)
      c = u']';
  }
  return shown;
}

std::size_t kv_argumentIndexOfSpecifier(std::u16string_view specifier, std::size_t rank) {
  if (specifier.size() < 2 || specifier[0] != u'%') return rank;
  if (kv_qtPlaceholderLength(specifier, 0) == specifier.size()) {
    const std::size_t digits = specifier[1] == u'L' ? 2 : 1;
    if (specifier[digits] == u'n') return rank;
    std::size_t number = 0;
    for (std::size_t at = digits; at < specifier.size(); ++at) {
      number = number * 10 + (specifier[at] - u'0');
    }
    return number - 1;
  }
  std::size_t position = 0;
  std::size_t at = 1;
  // More digits than any format has arguments are no position.
  for (; at < specifier.size() && at < 6 && specifier[at] >= u'0' && specifier[at] <= u'9'; ++at) {
    position = position * 10 + (specifier[at] - u'0');
  }
  if (at == 1 || at >= specifier.size() || specifier[at] != u'$' || position == 0) return rank;
  return position - 1;
}

std::u16string kv_formatKeepingCues(std::u16string_view format,
                                    const std::vector<std::u16string>& values) {
  std::u16string text;
  text.reserve(format.size());
  std::size_t rank = 0;
  walkPlaceholders(
      format, [&](std::u16string_view plain) { text += plain; },
      [&](std::u16string_view specifier) {
        const std::size_t argument = kv_argumentIndexOfSpecifier(specifier, rank++);
        text += kv_placeholderBeginCue;
        text += argument < values.size() ? std::u16string_view(values[argument]) : specifier;
        text += kv_placeholderEndCue;
      });
  return text;
}

std::u16string kv_stringByRemovingCues(std::u16string_view text) {
  std::u16string stripped;
  stripped.reserve(text.size());
  for (char16_t c : text) {
    if (c != kv_beginCue && c != kv_endCue && c != kv_placeholderBeginCue &&
        c != kv_placeholderEndCue) {
      stripped += c;
    }
  }
  return stripped;
}

}  // namespace kolvane
