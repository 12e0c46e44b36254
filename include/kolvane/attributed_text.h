// A UTF-16 text with runs of attributes, as a label shows it. Attributes are named texts (a
// toolkit adapter keeps its font, colour and so on there). A capsule, a placeholder drawn as
// one inline object, is a U+FFFC unit whose attributes hold kKVCapsuleFormat (the placeholder's
// text, read back when the edited text becomes a format again). The runs always cover the
// whole text, and neighbouring runs differ.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "kolvane/export.h"

namespace kolvane {

// A span of a text, in UTF-16 units.
struct KVRange {
  std::size_t location = 0;
  std::size_t length = 0;
  // Spelled out, not defaulted: the public headers compile as C++17 for the apps that are.
  bool operator==(const KVRange& other) const {
    return location == other.location && length == other.length;
  }
  bool operator!=(const KVRange& other) const { return !(*this == other); }
};

using KVTextAttributes = std::map<std::string, std::string>;

// Attributes Kolvane reads and writes.
inline constexpr char kKVFontSize[] = "kv_fontSize";            // points, as a decimal
inline constexpr char kKVCapsuleKey[] = "kv_capsuleKey";        // "variable"
inline constexpr char kKVCapsuleFormat[] = "kv_capsuleFormat";  // the placeholder, e.g. "%@"
inline constexpr char kKVCapsuleText[] = "kv_capsuleText";      // what the capsule shows
inline constexpr char kKVCapsuleColor[] = "kv_capsuleColor";    // "#2ca5c8", or "grey"
inline constexpr char16_t kKVCapsuleCharacter = u'\uFFFC';

class KOLVANE_EXPORT KVAttributedText {
 public:
  KVAttributedText() = default;
  explicit KVAttributedText(std::u16string text, KVTextAttributes attributes = {});

  const std::u16string& string() const { return text_; }
  // The attributes at `index` (none past the end) and, in `effective` when given, the longest
  // range around `index` within `limit` over which they are the same.
  KVTextAttributes attributesAt(std::size_t index, KVRange limit, KVRange* effective) const;
  // Calls `visit` with each run, in text order: its range and its attributes.
  void enumerateRuns(const std::function<void(KVRange, const KVTextAttributes&)>& visit) const;
  void append(std::u16string_view text, const KVTextAttributes& attributes);
  // The new text takes the attributes of the first unit it replaces (of the unit before it when
  // the range is empty). A range past the end is cut to the end.
  void replaceCharacters(KVRange range, std::u16string_view text);

  bool operator==(const KVAttributedText& other) const {
    return text_ == other.text_ && runs_ == other.runs_;
  }
  bool operator!=(const KVAttributedText& other) const { return !(*this == other); }

 private:
  struct Run {
    std::size_t length = 0;
    KVTextAttributes attributes;
    bool operator==(const Run& other) const {
      return length == other.length && attributes == other.attributes;
    }
  };
  // The index of the run holding `index`, and where that run starts.
  std::pair<std::size_t, std::size_t> runAt(std::size_t index) const;
  void mergeNeighbours();

  std::u16string text_;
  std::vector<Run> runs_;
};

}  // namespace kolvane
