#include "base/bounded_json.h"

#include <algorithm>

namespace kolvane {

std::size_t jsonNestingDepth(std::string_view text, std::size_t limit) {
  std::size_t depth = 0;
  std::size_t deepest = 0;
  bool inString = false;
  bool escaped = false;
  for (char c : text) {
    if (inString) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        inString = false;
      }
      continue;
    }
    if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      deepest = std::max(deepest, ++depth);
      if (deepest > limit) return deepest;
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return deepest;
}

}  // namespace kolvane
