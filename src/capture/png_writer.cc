#include "capture/png_writer.h"

#include <zlib.h>

#include <cstdint>
#include <system_error>
#include <thread>
#include <vector>

namespace kolvane {
namespace {

constexpr unsigned char kSubFilter = 1;

void appendBigEndian(std::string& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>((value >> shift) & 0xff);
}

void appendChunk(std::string& out, const char (&type)[5], std::string_view data) {
  appendBigEndian(out, static_cast<std::uint32_t>(data.size()));
  const std::size_t start = out.size();
  out.append(type, 4);
  out.append(data);
  const auto* bytes = reinterpret_cast<const Bytef*>(out.data() + start);
  appendBigEndian(out, static_cast<std::uint32_t>(
                           crc32(crc32(0, nullptr, 0), bytes, static_cast<uInt>(4 + data.size()))));
}

// A row in RGB after its filter byte, each byte as the difference with the one of the pixel on
// its left: a screenshot's flat areas become runs of zeros.
void subFiltered(const std::uint32_t* row, int width, unsigned char* out) {
  *out++ = kSubFilter;
  std::uint32_t left = 0;
  for (int x = 0; x < width; ++x) {
    const std::uint32_t pixel = row[x];
    for (const int shift : {16, 8, 0}) {
      *out++ = static_cast<unsigned char>((pixel >> shift) - (left >> shift));
    }
    left = pixel;
  }
}

// Rows [first, end) filtered and deflated one by one (no copy of the picture is made), as raw
// deflate data that ends on a byte boundary: parts made apart follow one another as one stream,
// the last one closing it.
struct DeflatedPart {
  std::string bytes;
  uLong adler = adler32(0, nullptr, 0);  // of the filtered rows
  uLong length = 0;
  bool ok = false;
};

DeflatedPart deflatedRows(const KVWindowPixels& pixels, int first, int end, bool last) {
  DeflatedPart part;
  z_stream stream{};
  constexpr int kRawDeflate = -15;  // the largest window, without zlib's header and trailer
  if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, kRawDeflate, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    return part;
  std::vector<unsigned char> row(static_cast<std::size_t>(pixels.width) * 3 + 1);
  std::vector<unsigned char> chunk(64 * 1024);
  bool failed = false;
  for (int y = first; y <= end && !failed; ++y) {
    const bool closing = y == end;
    if (!closing) {
      subFiltered(pixels.rows + pixels.stride * static_cast<std::size_t>(y), pixels.width,
                  row.data());
      part.adler = adler32(part.adler, row.data(), static_cast<uInt>(row.size()));
      part.length += row.size();
    }
    stream.next_in = row.data();
    stream.avail_in = closing ? 0 : static_cast<uInt>(row.size());
    const int flush = !closing ? Z_NO_FLUSH : last ? Z_FINISH : Z_SYNC_FLUSH;
    int status = Z_OK;
    do {
      stream.next_out = chunk.data();
      stream.avail_out = static_cast<uInt>(chunk.size());
      status = deflate(&stream, flush);
      failed = status == Z_STREAM_ERROR;
      part.bytes.append(reinterpret_cast<const char*>(chunk.data()),
                        chunk.size() - stream.avail_out);
    } while (!failed && (stream.avail_out == 0 || (flush == Z_FINISH && status != Z_STREAM_END)));
  }
  deflateEnd(&stream);
  part.ok = !failed;
  return part;
}

// The zlib stream of the filtered rows, its two halves deflated at once on two threads: the
// deflating is most of a capture's time.
std::optional<std::string> zlibStreamOfRows(const KVWindowPixels& pixels) {
  const int middle = pixels.height / 2;
  DeflatedPart top;
  std::optional<std::thread> topThread;
  try {
    topThread.emplace([&] { top = deflatedRows(pixels, 0, middle, false); });
  } catch (const std::system_error&) {
    top = deflatedRows(pixels, 0, middle, false);  // no thread to be had: one after the other
  }
  const DeflatedPart bottom = deflatedRows(pixels, middle, pixels.height, true);
  if (topThread) topThread->join();
  if (!top.ok || !bottom.ok) return std::nullopt;
  std::string stream("\x78\x01", 2);  // deflate, 32 KiB window, fastest
  stream += top.bytes;
  stream += bottom.bytes;
  appendBigEndian(stream, static_cast<std::uint32_t>(adler32_combine(
                              top.adler, bottom.adler, static_cast<z_off_t>(bottom.length))));
  return stream;
}

}  // namespace

std::optional<std::string> kv_pngFromPixels(const KVWindowPixels& pixels) {
  const auto sideFits = [](int side) { return side >= 1 && side <= kKVLargestPictureSide; };
  if (!sideFits(pixels.width) || !sideFits(pixels.height) || pixels.rows == nullptr ||
      pixels.stride < static_cast<std::size_t>(pixels.width)) {
    return std::nullopt;
  }
  const auto packed = zlibStreamOfRows(pixels);
  if (!packed) return std::nullopt;

  std::string header;
  appendBigEndian(header, static_cast<std::uint32_t>(pixels.width));
  appendBigEndian(header, static_cast<std::uint32_t>(pixels.height));
  header += std::string("\x08\x02\x00\x00\x00", 5);  // 8 bits, RGB, deflate, no interlace
  std::string png("\x89PNG\r\n\x1a\n", 8);
  appendChunk(png, "IHDR", header);
  appendChunk(png, "IDAT", *packed);
  appendChunk(png, "IEND", {});
  return png;
}

}  // namespace kolvane
