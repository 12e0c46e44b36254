#include "captures.h"

#include <algorithm>
#include <cmath>

#include "server.h"

namespace devserver {
namespace {

constexpr int kMaxImageSide = 16384;
constexpr std::size_t kMaxRegions = 20000;
constexpr std::size_t kMaxKeys = 64;
constexpr std::size_t kMaxKeyBytes = 4096;
constexpr std::size_t kMaxTextBytes = 4096;

std::uint32_t bigEndian32(std::string_view bytes) {
  std::uint32_t value = 0;
  for (char byte : bytes.substr(0, 4)) value = (value << 8) | static_cast<unsigned char>(byte);
  return value;
}

// The text cut to at most `most` bytes, never inside a UTF-8 sequence: answers are written as
// JSON, which must stay valid UTF-8.
std::string cutToBytes(std::string text, std::size_t most) {
  if (text.size() <= most) return text;
  std::size_t end = most;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  text.resize(end);
  return text;
}

// Each reader below gives the value, or none after saying in `problem` what is wrong.

std::optional<std::vector<std::string>> keysOf(const nlohmann::json& region, std::string& problem) {
  const auto found = region.find("keys");
  if (found == region.end() || !found->is_array() || found->empty() || found->size() > kMaxKeys) {
    problem = "\"keys\" must be an array of 1 to 64 keys";
    return std::nullopt;
  }
  std::vector<std::string> keys;
  for (const auto& key : *found) {
    if (!key.is_string() || key.get_ref<const std::string&>().empty() ||
        key.get_ref<const std::string&>().size() > kMaxKeyBytes) {
      problem = "a key must be a text of 1 to 4096 bytes";
      return std::nullopt;
    }
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
  }
  return keys;
}

std::optional<std::string> shownTextOf(const nlohmann::json& region, std::string& problem) {
  const auto found = region.find("text");
  if (found == region.end()) return std::string();
  if (found->is_string()) return cutToBytes(found->get<std::string>(), kMaxTextBytes);
  problem = "\"text\" must be a text";
  return std::nullopt;
}

std::optional<double> numberOf(const nlohmann::json& region, const char* name,
                               std::string& problem) {
  const auto found = region.find(name);
  // Exponents past a double's range are read as infinities.
  if (found != region.end() && found->is_number() && std::isfinite(found->get<double>())) {
    return found->get<double>();
  }
  problem = std::string("\"") + name + "\" must be a finite number";
  return std::nullopt;
}

// The part of the frame inside the image; none when nothing of it is.
std::optional<TextFrame> clipped(TextFrame frame, ImageSize size) {
  const double left = std::max(frame.x, 0.0);
  const double top = std::max(frame.y, 0.0);
  // A sum past a double's range is an infinity, which the image's side bounds.
  const double right = std::min(frame.x + frame.width, static_cast<double>(size.width));
  const double bottom = std::min(frame.y + frame.height, static_cast<double>(size.height));
  if (!(right > left && bottom > top)) return std::nullopt;
  frame.x = left;
  frame.y = top;
  frame.width = right - left;
  frame.height = bottom - top;
  return frame;
}

// A region read and clipped: none with `problem` said when it is malformed, none with
// `problem` left empty when nothing of it is inside the image.
std::optional<CaptureRegion> readRegion(const nlohmann::json& json, ImageSize size,
                                        std::string& problem) {
  if (!json.is_object()) {
    problem = "a region must be an object";
    return std::nullopt;
  }
  auto keys = keysOf(json, problem);
  auto text = shownTextOf(json, problem);
  const auto x = numberOf(json, "x", problem);
  const auto y = numberOf(json, "y", problem);
  const auto width = numberOf(json, "width", problem);
  const auto height = numberOf(json, "height", problem);
  if (!keys || !text || !x || !y || !width || !height) return std::nullopt;
  auto frame = clipped({std::move(*text), *x, *y, *width, *height}, size);
  if (!frame) return std::nullopt;
  return CaptureRegion{std::move(*keys), std::move(*frame)};
}

}  // namespace

std::optional<ImageSize> pngSize(std::string_view bytes) {
  static constexpr std::string_view kSignature("\x89PNG\r\n\x1a\n", 8);
  // IHDR's length (always 13) and type, the first chunk of every PNG.
  static constexpr std::string_view kHeaderChunk("\0\0\0\x0dIHDR", 8);
  // The signature, IHDR's length and type, its 13 bytes of data and its CRC.
  constexpr std::size_t kHeaderEnd = 8 + 8 + 13 + 4;
  if (bytes.size() < kHeaderEnd || bytes.substr(0, 8) != kSignature ||
      bytes.substr(8, 8) != kHeaderChunk) {
    return std::nullopt;
  }
  const std::uint32_t width = bigEndian32(bytes.substr(16));
  const std::uint32_t height = bigEndian32(bytes.substr(20));
  const auto fits = [](std::uint32_t side) { return side >= 1 && side <= kMaxImageSide; };
  if (!fits(width) || !fits(height)) return std::nullopt;
  return ImageSize{static_cast<int>(width), static_cast<int>(height)};
}

RegionList readRegions(const nlohmann::json& json, ImageSize size) {
  RegionList list;
  if (!json.is_array() || json.size() > kMaxRegions) {
    list.problem = "The regions must be an array of at most " + std::to_string(kMaxRegions);
    return list;
  }
  for (std::size_t i = 0; i < json.size(); ++i) {
    std::string problem;
    auto region = readRegion(json[i], size, problem);
    if (!problem.empty()) return {{}, "Region " + std::to_string(i) + ": " + problem};
    if (region) list.regions.push_back(std::move(*region));
  }
  return list;
}

std::string captureImagePath(const std::string& project, long long id) {
  return "/kolvane-api/v1/projects/" + httplib::detail::encode_query_param(project) + "/captures/" +
         std::to_string(id) + "/image";
}

}  // namespace devserver
