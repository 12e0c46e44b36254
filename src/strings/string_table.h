// KVStringTable: the strings of one file, read-only, in one block of bytes that is also the
// file's image on disk, so that a table is either built once from the reader's groups or
// mapped from its image without parsing. Lookups by key never allocate; a group is built as
// objects only when a caller asks for one (the reviewer's tools).
//
// Image format, version 1 (native byte order; a reader of another order or version ignores
// the image and the store reads its XLIFF again). The image is a cache, never the truth:
//
//   Header (96 bytes): "KVSTRTBL", version, byte-order mark 0x01020304, total size, the 64-bit
//   hash of the whole image (this field taken as 0), the source file's stamp (its size, the
//   64-bit hash of its bytes, the reader that made the table), the counts of each section
//   below, and 4 bytes of 0.
//   Sections, in this order, each starting on an 8-byte boundary:
//     slots    u64 each: 0 for an empty slot, else (hash of the key >> 32) << 32 | group + 1;
//              a power of two in number, always with an empty one (linear probing).
//     groups   {key (UTF-8 ref), first form, status, form count, flags, extra + 1 or 0}
//     forms    {format (UTF-16 ref), uid offset, extra + 1 or 0, uid length, category, flags};
//              group after group, each group's sorted by category name.
//     form extras  {note, own key, category name, plural form, long uid, specifiers}
//     group extras {reject reason, reject description}
//     spans    {offset, length} of UTF-16 texts: the stored format specifiers.
//     text16   every UTF-16 text (formats, notes, specifiers, reject reasons).
//     text8    every UTF-8 text (keys, uids, names).
//   A ref is {offset, length} into text16 or text8. Every ref, index and count is checked when
//   an image is opened; an image that fails any check is not used.
//
// The matching key of a form is not kept: it is derived from the format when a reviewer's touch
// needs it. The format specifiers are kept only when they are not the format's own.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "strings/string_group.h"

namespace kolvane {

namespace string_table {
struct Header;
struct Group;
struct Form;
struct FormExtra;
struct GroupExtra;
struct TextRef;
}  // namespace string_table

class KVStringTable {
 public:
  // What the table was read from; an image is used only for a source of the same stamp.
  struct SourceStamp {
    std::uint64_t size = 0;
    std::uint64_t contentHash = 0;
    std::uint32_t kind = 0;  // which reader and status made the table
    bool operator==(const SourceStamp& other) const {
      return size == other.size && contentHash == other.contentHash && kind == other.kind;
    }
  };

  static constexpr std::uint32_t kImageVersion = 1;
  static constexpr std::uint32_t npos = UINT32_MAX;

  // A table of `groups`, stamped with the file they came from.
  static std::shared_ptr<const KVStringTable> fromGroups(const KVStringGroups& groups,
                                                         const SourceStamp& source);
  static std::shared_ptr<const KVStringTable> fromGroups(const KVStringGroups& groups) {
    return fromGroups(groups, SourceStamp());
  }
  // The table an image holds, or null when the bytes are not a whole, undamaged image of this
  // version. `owner` keeps `bytes` alive (a mapping or a buffer); they are copied when they are
  // not 8-byte aligned.
  static std::shared_ptr<const KVStringTable> fromImage(std::shared_ptr<const void> owner,
                                                        std::string_view bytes);

  // Gives bytes the size and checksum fields an image of them would have, so that a fuzzer's
  // inputs reach the checks of the records.
  static void sealImageForTesting(std::string& image);

  // The image: write these bytes to a file and fromImage() gives this table back.
  std::string_view imageBytes() const { return bytes_; }
  const SourceStamp& source() const { return source_; }
  std::size_t groupCount() const { return groupCount_; }
  // Bytes of every form's text in UTF-16, for the memory figures.
  std::size_t formatBytes() const;

  // The group of `key`, or npos.
  std::uint32_t find(std::string_view key) const;
  std::string_view keyAt(std::uint32_t group) const;
  // What a lookup answers, chosen as KVStringGroup::formForPluralForm (not strict) and
  // defaultForm() choose; none when the group has no form.
  std::optional<std::u16string_view> defaultText(std::uint32_t group) const;
  std::optional<std::u16string_view> textForCategory(std::uint32_t group,
                                                     std::string_view category) const;

  // Every form, for the index of matching keys: its group, its format, whether it is dynamic.
  std::size_t formCount() const { return formCount_; }
  std::uint32_t groupOfForm(std::uint32_t form) const;
  std::u16string_view formatOfForm(std::uint32_t form) const;
  bool formIsDynamic(std::uint32_t form) const;
  // The category name a form is held under.
  std::string_view categoryOfForm(std::uint32_t form) const;

  // The group as objects, equal field by field to the one the table was built from (the
  // matching keys recalculated). A new object on every call.
  std::shared_ptr<KVStringGroup> makeGroup(std::uint32_t group) const;

 private:
  friend class KVStringTableBuilder;
  KVStringTable() = default;
  // Reads the header; an untrusted image is checked whole.
  bool openSections(bool untrusted);
  // Every ref, index and count of the records lies within its section.
  bool recordsAreWhole() const;
  std::uint32_t formForCategory(std::uint32_t group, std::string_view category, bool strict) const;

  std::shared_ptr<const void> owner_;
  std::string_view bytes_;
  SourceStamp source_;
  std::size_t groupCount_ = 0;
  std::size_t formCount_ = 0;
  const std::uint64_t* slots_ = nullptr;
  std::uint64_t slotMask_ = 0;
  std::size_t formExtraCount_ = 0;
  std::size_t groupExtraCount_ = 0;
  std::size_t spanCount_ = 0;
  std::size_t text16Size_ = 0;
  std::size_t text8Size_ = 0;
  const string_table::Group* groups_ = nullptr;
  const string_table::Form* forms_ = nullptr;
  const string_table::FormExtra* formExtras_ = nullptr;
  const string_table::GroupExtra* groupExtras_ = nullptr;
  const string_table::TextRef* spans_ = nullptr;
  const char16_t* text16_ = nullptr;
  const char* text8_ = nullptr;
};

// Lays out a table from groups, or from units as a reader reads them, without making a
// group's objects.
class KVStringTableBuilder {
 public:
  KVStringTableBuilder();
  ~KVStringTableBuilder();
  KVStringTableBuilder(const KVStringTableBuilder&) = delete;
  KVStringTableBuilder& operator=(const KVStringTableBuilder&) = delete;

  // Room for `units` units read from `bytes` bytes of a file, so the texts are not copied as
  // they grow.
  void reserve(std::size_t units, std::size_t bytes = 0);
  // One unit as the XLIFF reader reads it (its target marked with cues, placeholders closed):
  // a later unit of a key stamps the group with `status` and replaces the form of its
  // category; the last unit says whether the group has plurals.
  void addUnit(std::string_view key, std::string_view uid,
               const std::optional<std::string>& pluralForm, std::u16string_view format,
               std::u16string_view note, unsigned status);
  // A group by the key it is found by; a second group of that key is left out.
  void addGroup(std::string_view foundBy, const KVStringGroup& group);
  // The table, or null when it cannot hold what was added (4 GiB of text). Starts over.
  std::shared_ptr<const KVStringTable> finish(const KVStringTable::SourceStamp& source);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kolvane
