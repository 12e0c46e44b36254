#include "capture/capsules.h"

#include <charconv>

#include "base/utf.h"
#include "kolvane/edition_screen.h"  // declares kv_capsuleAttributes exported
#include "strings/cues.h"

namespace kolvane {
namespace {

constexpr char kCapsuleKey[] = "variable";
constexpr char kCapsuleText[] = "Variable";
constexpr char kEditingColor[] = "#2ca5c8";  // 44, 165, 200
constexpr char kGrey[] = "grey";

std::string points(double size) {
  char buffer[32] = {};
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, size);
  return error == std::errc() ? std::string(buffer, end) : std::string("0");
}

KVTextAttributes capsuleAttributes(const KVTextAttributes& text, std::u16string_view format,
                                   bool editing) {
  KVTextAttributes attributes = text;
  attributes[kKVCapsuleKey] = kCapsuleKey;
  attributes[kKVCapsuleFormat] = toUtf8(format);
  attributes[kKVCapsuleText] = kCapsuleText;
  attributes[kKVCapsuleColor] = editing ? kEditingColor : kGrey;
  return attributes;
}

}  // namespace

KVTextAttributes kv_capsuleAttributes(std::string_view placeholder, double size, bool editing) {
  return capsuleAttributes({{kKVFontSize, points(size)}}, toUtf16(placeholder), editing);
}

KVAttributedText kv_stringWithCapsules(const KVString& string, double size, bool editing) {
  std::u16string text;
  for (char16_t c : string.localizedFormat) {
    if (c != kv_beginCue && c != kv_endCue) text += c;
  }
  const KVTextAttributes attributes{{kKVFontSize, points(size)}};
  if (!string.dynamic) return KVAttributedText(std::move(text), attributes);

  KVAttributedText shown;
  std::size_t specifier = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t begin = text.find(kv_placeholderBeginCue, at);
    shown.append(std::u16string_view(text).substr(at, begin - at), attributes);
    if (begin == std::u16string::npos) break;
    const std::size_t end = text.find(kv_placeholderEndCue, begin);
    if (end == std::u16string::npos) break;
    const std::u16string_view format = specifier < string.argumentFormatSpecifiers.size()
                                           ? string.argumentFormatSpecifiers[specifier]
                                           : std::u16string_view();
    ++specifier;
    shown.append(std::u16string(1, kKVCapsuleCharacter),
                 capsuleAttributes(attributes, format, editing));
    at = end + 1;
  }
  return shown;
}

std::u16string kv_formatFromEditedText(const KVAttributedText& text, std::size_t* capsules) {
  const std::u16string& plain = text.string();
  std::u16string format(1, kv_beginCue);
  std::size_t count = 0;
  std::size_t start = 0;
  text.enumerateRuns([&](KVRange run, const KVTextAttributes& attributes) {
    const auto capsule = attributes.find(kKVCapsuleFormat);
    if (capsule == attributes.end()) return;
    // Neighbouring capsules may share one run: each of its units is one capsule.
    for (std::size_t unit = run.location; unit < run.location + run.length; ++unit) {
      format.append(plain, start, unit - start);
      format += kv_placeholderBeginCue;
      format += toUtf16(capsule->second);
      format += kv_placeholderEndCue;
      start = unit + 1;
      ++count;
    }
  });
  format.append(plain, start);
  format += kv_endCue;
  if (capsules != nullptr) *capsules = count;
  return format;
}

}  // namespace kolvane
