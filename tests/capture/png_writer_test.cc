// Window pictures written as PNG: read back here chunk by chunk (lengths, CRCs, the header, the
// inflated and unfiltered rows), and pixels that cannot be read refused.
#include "capture/png_writer.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kolvane {
namespace {

std::uint32_t bigEndian(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i)
    value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

// The chunks of `png` by type, each checked against its CRC; empty when one does not match.
std::map<std::string, std::string> chunksOf(const std::string& png) {
  std::map<std::string, std::string> chunks;
  for (std::size_t at = 8; at + 12 <= png.size();) {
    const std::uint32_t length = bigEndian(png, at);
    const std::string typed = png.substr(at + 4, 4 + length);
    const auto crc =
        crc32(0, reinterpret_cast<const Bytef*>(typed.data()), static_cast<uInt>(typed.size()));
    if (crc != bigEndian(png, at + 8 + length)) return {};
    chunks[typed.substr(0, 4)] += typed.substr(4);
    at += 12 + length;
  }
  return chunks;
}

// The RGB rows of a PNG written with the Sub filter.
std::string pixelsOf(const std::string& idat, int width, int height) {
  const std::size_t rowBytes = static_cast<std::size_t>(width) * 3;
  std::string rows((rowBytes + 1) * static_cast<std::size_t>(height), '\0');
  uLongf size = rows.size();
  if (uncompress(reinterpret_cast<Bytef*>(rows.data()), &size,
                 reinterpret_cast<const Bytef*>(idat.data()), idat.size()) != Z_OK ||
      size != rows.size()) {
    return "(not inflated)";
  }
  std::string rgb;
  for (int y = 0; y < height; ++y) {
    const char* row = rows.data() + (rowBytes + 1) * static_cast<std::size_t>(y);
    if (row[0] != 1) return "(not the Sub filter)";
    for (std::size_t i = 0; i < rowBytes; ++i) {
      const unsigned char left = i >= 3 ? static_cast<unsigned char>(rgb[rgb.size() - 3]) : 0;
      rgb += static_cast<char>(static_cast<unsigned char>(row[1 + i]) + left);
    }
  }
  return rgb;
}

// `width` x `height` pixels of varied colours, rows `stride` pixels apart.
std::vector<std::uint32_t> someColours(int width, int height, std::size_t stride) {
  std::vector<std::uint32_t> pixels(stride * static_cast<std::size_t>(height), 0xdeadbeef);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      pixels[stride * y + x] = 0xff000000u | static_cast<std::uint32_t>((x * 97 + y * 13) * 40503u);
    }
  }
  return pixels;
}

// Their RGB bytes, row after row.
std::string rgbOf(const std::vector<std::uint32_t>& pixels, int width, int height,
                  std::size_t stride) {
  std::string rgb;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (const int shift : {16, 8, 0}) rgb += static_cast<char>(pixels[stride * y + x] >> shift);
    }
  }
  return rgb;
}

TEST(PngWriterTest, PixelsComeBackAsTheyWereWithAValidHeaderAndChunks) {
  const int width = 5, height = 3;
  const std::size_t stride = 8;  // rows padded, as toolkits pad them
  const auto colours = someColours(width, height, stride);
  const auto png = kv_pngFromPixels({nullptr, colours.data(), stride, width, height});
  ASSERT_TRUE(png);
  EXPECT_EQ(png->substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
  EXPECT_EQ(png->substr(12, 4), "IHDR");  // the first chunk, as readers require
  const auto chunks = chunksOf(*png);
  ASSERT_EQ(chunks.size(), 3u) << "a chunk's CRC does not match";
  const std::string& header = chunks.at("IHDR");
  EXPECT_EQ(bigEndian(header, 0), 5u);
  EXPECT_EQ(bigEndian(header, 4), 3u);
  EXPECT_EQ(header.substr(8), std::string("\x08\x02\0\0\0", 5));
  EXPECT_EQ(pixelsOf(chunks.at("IDAT"), width, height), rgbOf(colours, width, height, stride));
  EXPECT_EQ(chunks.at("IEND"), "");
  // One row: the picture's top half (deflated apart) is empty.
  const auto line = kv_pngFromPixels({nullptr, colours.data(), stride, width, 1});
  ASSERT_TRUE(line);
  EXPECT_EQ(pixelsOf(chunksOf(*line).at("IDAT"), width, 1), rgbOf(colours, width, 1, stride));
}

TEST(PngWriterTest, NoPixelsRowsLongerThanTheStrideOrSidesOutOfBoundsAreRefused) {
  const std::vector<std::uint32_t> pixels(4, 0xff102030);
  const auto png = [&pixels](std::size_t stride, int width, int height) {
    return kv_pngFromPixels({nullptr, pixels.data(), stride, width, height});
  };
  EXPECT_TRUE(png(2, 2, 2));
  EXPECT_FALSE(png(1, 2, 2));
  EXPECT_FALSE(png(2, 0, 2));
  EXPECT_FALSE(png(2, 2, -1));
  // A side past the bound is refused before any row is read.
  EXPECT_FALSE(png(kKVLargestPictureSide + 1, kKVLargestPictureSide + 1, 1));
  EXPECT_FALSE(kv_pngFromPixels({nullptr, nullptr, 2, 2, 2}));
}

}  // namespace
}  // namespace kolvane
