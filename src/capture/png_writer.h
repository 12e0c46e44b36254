// PNG files of window pictures, written here rather than by a toolkit: Qt's writer tries every
// filter on every row and takes a quarter of a second for a 1280x800 window on a slow machine;
// one filter (Sub, which turns a screenshot's flat areas into zeros) and the fastest
// compression, the two halves of the picture on two threads, take about a sixth of that.
#pragma once

#include <optional>
#include <string>

#include "kolvane/host_view.h"

namespace kolvane {

// The largest side a picture may have, in pixels.
inline constexpr int kKVLargestPictureSide = 16384;

// A PNG (8-bit RGB) of the pixels; none when a side is not from 1 to kKVLargestPictureSide, a
// row is longer than the stride or there are no pixels.
std::optional<std::string> kv_pngFromPixels(const KVWindowPixels& pixels);

}  // namespace kolvane
