#include "capture/display_checks.h"

#include <array>
#include <atomic>
#include <cstddef>

#include "capture/tool_host.h"
#include "kolvane/cues.h"

namespace kolvane {
namespace {

// Letters with a mark seldom met in real languages, so that tracing can take it off again
// without mistaking a translation's own accents for it.
constexpr std::array<char16_t, 26> kLower = {
    u'\u0227', u'\u1E03', u'\u010B', u'\u1E0B', u'\u0229', u'\u1E1F', u'\u0121',
    u'\u1E23', u'\u0268', u'\u0135', u'\u1E33', u'\u1E37', u'\u1E41', u'\u1E45',
    u'\u022F', u'\u1E57', u'\u02A0', u'\u1E59', u'\u1E61', u'\u1E6B', u'\u0289',
    u'\u1E7F', u'\u1E87', u'\u1E8B', u'\u1E8F', u'\u1E93'};
constexpr std::array<char16_t, 26> kUpper = {
    u'\u0226', u'\u1E02', u'\u010A', u'\u1E0A', u'\u0228', u'\u1E1E', u'\u0120',
    u'\u1E22', u'\u0197', u'\u0134', u'\u1E32', u'\u1E36', u'\u1E40', u'\u1E44',
    u'\u022E', u'\u1E56', u'\u024A', u'\u1E58', u'\u1E60', u'\u1E6A', u'\u0244',
    u'\u1E7E', u'\u1E86', u'\u1E8A', u'\u1E8E', u'\u1E92'};
constexpr char16_t kOpen = u'[';
constexpr char16_t kClose = u']';
constexpr char16_t kPadding = u'~';

std::atomic<bool> pseudo{false};
bool rightToLeftOn = false;

char16_t accented(char16_t c) {
  if (c >= u'a' && c <= u'z') return kLower[static_cast<std::size_t>(c - u'a')];
  if (c >= u'A' && c <= u'Z') return kUpper[static_cast<std::size_t>(c - u'A')];
  return c;
}

char16_t plain(char16_t c) {
  for (std::size_t i = 0; i < kLower.size(); ++i) {
    if (kLower[i] == c) return static_cast<char16_t>(u'a' + i);
    if (kUpper[i] == c) return static_cast<char16_t>(u'A' + i);
  }
  return c;
}

// About 40% of the text's length, at least one.
std::size_t paddingFor(std::size_t length) { return (length * 2 + 4) / 5; }

}  // namespace

std::u16string kv_pseudoTranslated(std::u16string_view answer) {
  std::u16string shown;
  shown.reserve(answer.size() * 2);
  std::size_t strings = 0;       // depth inside string cues
  std::size_t placeholders = 0;  // depth inside placeholder cues
  std::size_t length = 0;        // of the string's own text so far
  for (char16_t c : answer) {
    if (c == kv_placeholderBeginCue) ++placeholders;
    if (c == kv_placeholderEndCue && placeholders > 0) --placeholders;
    const bool ownText = strings > 0 && placeholders == 0;
    if (c == kv_endCue && ownText) {
      shown += u' ';
      shown.append(paddingFor(length), kPadding);
      shown += kClose;
      --strings;
    }
    shown += ownText ? accented(c) : c;
    if (ownText && c != kv_placeholderEndCue && c != kv_endCue) ++length;
    if (c == kv_beginCue && placeholders == 0) {
      shown += kOpen;
      ++strings;
      length = 0;
    }
  }
  return shown;
}

std::u16string kv_withoutPseudoTranslation(std::u16string_view shown) {
  std::u16string text;
  text.reserve(shown.size());
  for (std::size_t i = 0; i < shown.size(); ++i) {
    const char16_t c = shown[i];
    if (c == kOpen && i > 0 && shown[i - 1] == kv_beginCue) continue;
    if (c == kv_endCue && !text.empty() && text.back() == kClose) {
      // The closing bracket and the padding before it, " ~~~]": the space stops at the
      // string's own text, even when that ends with "~".
      text.pop_back();
      while (!text.empty() && text.back() == kPadding) text.pop_back();
      if (!text.empty() && text.back() == u' ') text.pop_back();
    }
    text += plain(c);
  }
  return text;
}

bool kv_pseudoTranslation() { return pseudo.load(std::memory_order_relaxed); }

void kv_setPseudoTranslation(bool on) {
  if (pseudo.exchange(on) == on) return;
  if (const auto host = kv_toolHost()) host->stringsDidChange();
}

bool kv_rightToLeft() { return rightToLeftOn; }

void kv_setRightToLeft(bool on) {
  if (rightToLeftOn == on) return;
  rightToLeftOn = on;
  if (const auto host = kv_toolHost()) host->setRightToLeft(on);
}

}  // namespace kolvane
