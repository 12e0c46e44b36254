#include "platform/linux/property_list_bounds.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace kolvane {
namespace {

// XML: the deepest element nesting, counted from the tags alone.
bool xmlWithinDepth(std::string_view text, std::size_t limit) {
  std::size_t depth = 0;
  for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
    const std::string_view rest = text.substr(at);
    std::string_view closing = ">";
    if (rest.starts_with("<!--")) closing = "-->";
    if (rest.starts_with("<![CDATA[")) closing = "]]>";
    const std::size_t end = text.find(closing, at);
    if (end == std::string_view::npos) return true;  // cut short: the reader rejects it
    const bool selfClosing = text[end - 1] == '/';
    if (rest.starts_with("</")) {
      depth = depth > 0 ? depth - 1 : 0;
    } else if (!rest.starts_with("<?") && !rest.starts_with("<!") && !selfClosing) {
      if (++depth > limit) return false;
    }
    at = end + closing.size();
  }
  return true;
}

// XML forbids NUL, but libplist's own reader lets a raw one or a reference to it ("&#0;",
// "&#x00;") into a text, and then aborts when the text is read.
bool xmlFreeOfNul(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return false;
  for (std::size_t at = text.find("&#"); at != std::string_view::npos;
       at = text.find("&#", at + 2)) {
    std::size_t digits = at + 2;
    if (digits < text.size() && (text[digits] == 'x' || text[digits] == 'X')) ++digits;
    std::size_t end = digits;
    while (end < text.size() && text[end] == '0') ++end;
    if (end > digits && end < text.size() && text[end] == ';') return false;
  }
  return true;
}

// A binary property list's object graph: the trailer, the offset table and, per container,
// the objects it refers to.
class BinaryGraph {
 public:
  explicit BinaryGraph(std::string_view bytes) : bytes_(bytes) {}

  // Walks from the top object without recursion: false for a damaged table, a cycle, or a
  // tree deeper or larger than the limits.
  bool withinBounds(const PropertyListLimits& limits) {
    if (!readTrailer()) return false;
    std::vector<std::uint8_t> state(objectCount_, 0);  // 0 new, 1 on the path, 2 done
    std::vector<std::size_t> expanded(objectCount_, 0);
    struct Frame {
      std::uint64_t object;
      std::vector<std::uint64_t> children;
      std::size_t next = 0;
      std::size_t size = 1;
    };
    std::vector<Frame> path;
    const auto enter = [&](std::uint64_t object) {
      auto children = childrenOf(object);
      if (!children) return false;
      state[object] = 1;
      path.push_back({object, std::move(*children)});
      return path.size() <= limits.depth;
    };
    if (!enter(top_)) return false;
    while (!path.empty()) {
      Frame& frame = path.back();
      if (frame.next == frame.children.size()) {
        state[frame.object] = 2;
        expanded[frame.object] = frame.size;
        const std::size_t size = frame.size;
        path.pop_back();
        if (!path.empty())
          path.back().size = std::min(path.back().size + size, limits.expandedNodes + 1);
        if (size > limits.expandedNodes) return false;
        continue;
      }
      const std::uint64_t child = frame.children[frame.next++];
      if (child >= objectCount_ || state[child] == 1) return false;
      if (state[child] == 2) {
        frame.size = std::min(frame.size + expanded[child], limits.expandedNodes + 1);
        if (frame.size > limits.expandedNodes) return false;
        continue;
      }
      if (!enter(child)) return false;
    }
    return true;
  }

 private:
  std::optional<std::uint64_t> number(std::size_t at, std::size_t width) const {
    if (width == 0 || width > 8 || at > bytes_.size() || bytes_.size() - at < width) {
      return std::nullopt;
    }
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
      value = value << 8 | static_cast<std::uint8_t>(bytes_[at + i]);
    return value;
  }

  bool readTrailer() {
    if (bytes_.size() < 8 + 32) return false;
    const std::size_t trailer = bytes_.size() - 32;
    offsetWidth_ = static_cast<std::uint8_t>(bytes_[trailer + 6]);
    refWidth_ = static_cast<std::uint8_t>(bytes_[trailer + 7]);
    const auto count = number(trailer + 8, 8);
    const auto top = number(trailer + 16, 8);
    const auto table = number(trailer + 24, 8);
    if (!count || !top || !table || *count == 0 || *count > bytes_.size()) return false;
    if (offsetWidth_ == 0 || offsetWidth_ > 8 || refWidth_ == 0 || refWidth_ > 8) return false;
    if (*table > trailer || (trailer - *table) / offsetWidth_ < *count || *top >= *count) {
      return false;
    }
    objectCount_ = *count;
    top_ = *top;
    table_ = *table;
    return true;
  }

  // The objects a container refers to (none for a value); nothing when the object is damaged
  // or is a text holding a NUL character, which libplist refuses by aborting.
  std::optional<std::vector<std::uint64_t>> childrenOf(std::uint64_t object) const {
    const auto offset = number(table_ + object * offsetWidth_, offsetWidth_);
    if (!offset || *offset >= table_) return std::nullopt;
    const auto marker = static_cast<std::uint8_t>(bytes_[*offset]);
    const std::uint8_t kind = marker >> 4;
    const bool container = kind == 0xA || kind == 0xC || kind == 0xD;
    const bool text = kind == 0x5 || kind == 0x6;
    if (!container && !text) return std::vector<std::uint64_t>();
    std::size_t at = *offset + 1;
    std::uint64_t count = marker & 0x0F;
    if (count == 0x0F) {  // the count follows as an integer object
      if (at >= bytes_.size()) return std::nullopt;
      const auto intMarker = static_cast<std::uint8_t>(bytes_[at]);
      if (intMarker >> 4 != 0x1 || (intMarker & 0x0F) > 3) return std::nullopt;
      const std::size_t width = std::size_t{1} << (intMarker & 0x0F);
      const auto read = number(at + 1, width);
      if (!read) return std::nullopt;
      count = *read;
      at += 1 + width;
    }
    if (text) {
      if (!textWithoutNul(at, count, kind == 0x6 ? 2 : 1)) return std::nullopt;
      return std::vector<std::uint64_t>();
    }
    if (kind == 0xD) count *= 2;  // keys, then values
    if (count > (bytes_.size() - std::min(at, bytes_.size())) / refWidth_) return std::nullopt;
    std::vector<std::uint64_t> children;
    children.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) {
      const auto ref = number(at + i * refWidth_, refWidth_);
      if (!ref) return std::nullopt;
      children.push_back(*ref);
    }
    return children;
  }

  // `count` characters of `width` bytes from `at`, all inside the file and none of them NUL.
  bool textWithoutNul(std::size_t at, std::uint64_t count, std::size_t width) const {
    if (at > bytes_.size() || count > (bytes_.size() - at) / width) return false;
    for (std::uint64_t i = 0; i < count; ++i) {
      bool nul = true;
      for (std::size_t byte = 0; byte < width; ++byte)
        nul = nul && bytes_[at + i * width + byte] == 0;
      if (nul) return false;
    }
    return true;
  }

  std::string_view bytes_;
  std::uint8_t offsetWidth_ = 0;
  std::uint8_t refWidth_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t top_ = 0;
  std::uint64_t table_ = 0;
};

}  // namespace

bool propertyListWithinBounds(std::string_view bytes, const PropertyListLimits& limits) {
  if (bytes.size() > limits.bytes) return false;
  if (bytes.starts_with("bplist00")) return BinaryGraph(bytes).withinBounds(limits);
  return xmlFreeOfNul(bytes) && xmlWithinDepth(bytes, limits.depth);
}

}  // namespace kolvane
