// Captures of an app's windows: a PNG screenshot and, for each traced text in it, the keys of
// the strings it was built from and its rectangle in image pixels. Here what a client sends is
// read and bounded, and the page translators look at is written. Pure functions; any thread.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "store.h"

namespace devserver {

inline constexpr std::size_t kMaxCapturesKept = 200;     // per project and locale, newest kept
inline constexpr std::size_t kNewestCapturesShown = 20;  // per key

struct ImageSize {
  int width = 0;
  int height = 0;
};

// The size a PNG's header gives; none when the bytes do not start with the PNG signature and
// an IHDR chunk, or a side is not 1 to 16384 pixels.
std::optional<ImageSize> pngSize(std::string_view bytes);

// A capture's regions read from their JSON, each clipped to the image; a region with nothing
// left inside it is dropped.
struct RegionList {
  std::vector<CaptureRegion> regions;
  std::string problem;  // why the whole list is refused; empty when it was read
};
RegionList readRegions(const nlohmann::json& json, ImageSize size);

// Where the image of a capture is served.
std::string captureImagePath(const std::string& project, long long id);

// The page that shows a translator where each string of a locale is used: per key, its newest
// captures with a rectangle around each of its texts.
struct KeyCaptures {
  std::string key;
  int count = 0;                     // how many captures hold it
  std::vector<KeyCapture> captures;  // the newest of them
};
std::string capturesPage(const nlohmann::json& project, const std::string& locale,
                         const std::vector<KeyCaptures>& keys);

}  // namespace devserver
