// Tables of the files a store reads, started from their images: the first read of a file
// parses it and leaves an image of its table in the files folder; later reads map the image
// instead, as long as it is whole and was made from the file as it is now (same size,
// modification time and identity, same reader). The file stays the truth: an image that does
// not match is ignored and made again.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "strings/string_table.h"

namespace kolvane {

// Which reader made a table, so that one file read two ways keeps two images.
enum class KVTableReader : std::uint32_t { xliff = 1, stringsTable = 2 };

struct KVFileTable {
  std::shared_ptr<const KVStringTable> table;  // null when the file could not be read
  bool fromImage = false;  // else read from the file, and its image is to be written
};

// Makes the table of the file from its bytes, stamped as given; null when it cannot.
using KVTableRead = std::function<std::shared_ptr<const KVStringTable>(
    std::string_view bytes, const KVStringTable::SourceStamp& stamp)>;

// The table of the file at `path`, from its image when one matches, else from `read`; none
// when there is no file or it cannot be read. `status` is the status the reader stamps.
KVFileTable kv_readFileTable(const std::string& path, KVTableReader reader, unsigned status,
                             const KVTableRead& read);

// Where the image of the file at `path` lives.
std::string kv_tableImagePath(const std::string& path);

// Writes the image of a table read from its file; a failure is only logged (the file is read
// again next time).
void kv_writeTableImage(const std::string& path, const KVStringTable& table);

}  // namespace kolvane
