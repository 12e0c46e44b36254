#include "core/table_images.h"

#include <cstdio>

#include "base/fast_hash.h"
#include "base/log.h"
#include "core/main_controller.h"
#include "kolvane/platform.h"

namespace kolvane {
namespace {

std::shared_ptr<const KVStringTable> tableFromImage(const std::string& path,
                                                    const KVStringTable::SourceStamp& stamp) {
  const std::string image = kv_tableImagePath(path);
  FileSystem& files = Platform::current().fileSystem();
  if (!files.fileExists(image)) return nullptr;
  auto bytes = files.mapFile(image);
  if (!bytes) return nullptr;
  auto table = KVStringTable::fromImage(std::move(bytes->owner), bytes->bytes);
  if (table && table->source() == stamp) return table;
  kvDebug("The image of " + path + " is not used: " +
          (table ? "it was made from another version of the file" : "it is damaged or old"));
  return nullptr;
}

}  // namespace

std::string kv_tableImagePath(const std::string& path) {
  char name[24];
  std::snprintf(name, sizeof name, "%016llx",
                static_cast<unsigned long long>(kv_hashText(std::string_view(path))));
  return KVMainController::kolvaneFilesFolder() + "/Images/" + name + ".table";
}

KVFileTable kv_readFileTable(const std::string& path, KVTableReader reader, unsigned status,
                             const KVTableRead& read) {
  FileSystem& files = Platform::current().fileSystem();
  if (!files.fileExists(path)) return {};
  const auto bytes = files.mapFile(path);
  if (!bytes) {
    kvDebug("Error loading strings from " + path + ": the file could not be read");
    return {};
  }
  // The bytes read are the bytes hashed: hashing costs a small part of parsing, and tells a
  // changed file apart whatever its size and times say.
  const KVStringTable::SourceStamp stamp{
      bytes->bytes.size(), kv_hashText(bytes->bytes),
      static_cast<std::uint32_t>(reader) << 16 | (status & 0xffff)};
  if (auto table = tableFromImage(path, stamp)) return {std::move(table), true};
  return {read(bytes->bytes, stamp), false};
}

void kv_writeTableImage(const std::string& path, const KVStringTable& table) {
  if (table.source() == KVStringTable::SourceStamp()) return;
  if (!Platform::current().fileSystem().writeFileAtomically(kv_tableImagePath(path),
                                                            table.imageBytes())) {
    kvDebug("Could not write the image of " + path);
  }
}

}  // namespace kolvane
