#include "strings/string_table.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <vector>

#include "base/fast_hash.h"
#include "strings/cues.h"

namespace kolvane {
namespace string_table {

struct TextRef {
  std::uint32_t offset = 0;
  std::uint32_t length = 0;
};

struct Header {
  char magic[8];
  std::uint32_t version;
  std::uint32_t byteOrder;
  std::uint64_t totalSize;
  std::uint64_t checksum;
  std::uint64_t sourceSize;
  std::uint64_t sourceHash;
  std::uint64_t unused;
  std::uint32_t sourceKind;
  std::uint32_t groupCount;
  std::uint32_t formCount;
  std::uint32_t formExtraCount;
  std::uint32_t groupExtraCount;
  std::uint32_t slotCount;
  std::uint32_t spanCount;
  std::uint32_t text16Units;
  std::uint32_t text8Bytes;
  std::uint32_t reserved;
};
static_assert(sizeof(Header) == 96);

struct Group {
  TextRef key;
  std::uint32_t firstForm = 0;
  std::uint32_t status = 0;
  std::uint16_t formCount = 0;
  std::uint16_t flags = 0;
  std::uint32_t extra = 0;  // index + 1
};

struct Form {
  TextRef format;
  std::uint32_t uidOffset = 0;
  std::uint32_t extra = 0;  // index + 1
  std::uint16_t uidLength = 0;
  std::uint8_t category = 0;
  std::uint8_t flags = 0;
};

struct FormExtra {
  TextRef note;        // text16
  TextRef ownKey;      // text8, when the form's key is not its group's
  TextRef name;        // text8, a category without a code
  TextRef pluralForm;  // text8, when it is not the category name
  TextRef uid;         // text8, when too long for the form
  TextRef specifiers;  // spans
};

struct GroupExtra {
  TextRef reason;       // text16
  TextRef description;  // text16
  TextRef ownKey;       // text8, when the group's key is not the one it is found by
};

}  // namespace string_table

namespace {

using namespace string_table;

constexpr char kMagic[8] = {'K', 'V', 'S', 'T', 'R', 'T', 'B', 'L'};
constexpr std::uint32_t kByteOrderMark = 0x01020304;

constexpr std::array<std::string_view, 7> kCategoryNames = {"none", "zero", "one",  "two",
                                                            "few",  "many", "other"};
constexpr std::uint8_t kCustomCategory = kCategoryNames.size();

enum FormFlag : std::uint8_t {
  kDynamic = 1,
  kFromBase = 2,
  kHasPluralForm = 4,
  kOwnPluralForm = 8,
  kOwnKey = 16,
  kOwnSpecifiers = 32,
  kLongUid = 64,
};
constexpr std::uint8_t kFlagsNeedingExtra = kOwnPluralForm | kOwnKey | kOwnSpecifiers | kLongUid;

enum GroupFlag : std::uint16_t { kHasPlurals = 1, kOwnGroupKey = 2 };

std::uint64_t roundUp8(std::uint64_t size) { return (size + 7) & ~std::uint64_t{7}; }

// Where each section starts, from the counts of a header; all in bytes from the image's start.
struct Sections {
  std::uint64_t slots, groups, forms, formExtras, groupExtras, spans, text16, text8, end;
};

Sections sectionsOf(const Header& h) {
  Sections s{};
  s.slots = sizeof(Header);
  s.groups = s.slots + std::uint64_t{h.slotCount} * sizeof(std::uint64_t);
  s.forms = roundUp8(s.groups + std::uint64_t{h.groupCount} * sizeof(Group));
  s.formExtras = roundUp8(s.forms + std::uint64_t{h.formCount} * sizeof(Form));
  s.groupExtras = roundUp8(s.formExtras + std::uint64_t{h.formExtraCount} * sizeof(FormExtra));
  s.spans = roundUp8(s.groupExtras + std::uint64_t{h.groupExtraCount} * sizeof(GroupExtra));
  s.text16 = roundUp8(s.spans + std::uint64_t{h.spanCount} * sizeof(TextRef));
  s.text8 = roundUp8(s.text16 + std::uint64_t{h.text16Units} * sizeof(char16_t));
  s.end = roundUp8(s.text8 + h.text8Bytes);
  return s;
}

// The hash of the whole image, its own field taken as 0 so that no byte goes unchecked.
std::uint64_t checksumOf(std::string_view image) {
  Header header;
  std::memcpy(&header, image.data(), sizeof header);
  header.checksum = 0;
  return kv_hashBytes(image.data() + sizeof(Header), image.size() - sizeof(Header),
                      kv_hashBytes(&header, sizeof header));
}

std::vector<std::u16string_view> placeholderSpecifiers(std::u16string_view format, bool dynamic) {
  std::vector<std::u16string_view> specifiers;
  if (!dynamic) return specifiers;
  kv_forEachPlaceholder(format, [&](std::u16string_view specifier) {
    if (!specifier.empty()) specifiers.push_back(specifier);
  });
  return specifiers;
}

bool sameSpecifiers(const std::vector<std::u16string>& kept,
                    const std::vector<std::u16string_view>& derived) {
  if (kept.size() != derived.size()) return false;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (kept[i] != derived[i]) return false;
  }
  return true;
}

bool within(const TextRef& ref, std::size_t size) {
  return std::uint64_t{ref.offset} + ref.length <= size;
}

template <typename Record>
void copyInto(char* at, const std::vector<Record>& records) {
  if (!records.empty()) std::memcpy(at, records.data(), records.size() * sizeof(Record));
}

}  // namespace

// Groups and forms as they arrive; laid out group after group, forms sorted, by finish().
struct KVStringTableBuilder::State {
  struct PendingForm {
    Form record;
    FormExtra extra;
    bool hasExtra = false;
    std::uint32_t next = KVStringTable::npos;
  };
  struct PendingGroup {
    std::uint64_t hash = 0;  // of the key
    Group record;
    GroupExtra extra;
    bool hasExtra = false;
    std::uint32_t firstForm = KVStringTable::npos;
  };

  std::vector<PendingGroup> groups;
  std::vector<PendingForm> forms;
  std::vector<TextRef> spans;
  std::u16string text16;
  std::string text8;
  // By key, for units that add to a group: (hash >> 32) << 32 | group + 1.
  std::vector<std::uint64_t> index;
  bool tooLarge = false;

  TextRef add16(std::u16string_view text) { return addText(text16, text); }
  TextRef add8(std::string_view text) { return addText(text8, text); }
  template <typename Text, typename View>
  TextRef addText(Text& into, View text) {
    if (into.size() + text.size() >= UINT32_MAX) {
      tooLarge = true;
      return {};
    }
    const TextRef ref{static_cast<std::uint32_t>(into.size()),
                      static_cast<std::uint32_t>(text.size())};
    into.append(text);
    return ref;
  }
  std::string_view text8At(const TextRef& ref) const {
    return std::string_view(text8).substr(ref.offset, ref.length);
  }

  std::string_view categoryName(const PendingForm& form) const {
    return form.record.category == kCustomCategory ? text8At(form.extra.name)
                                                   : kCategoryNames[form.record.category];
  }
  void setCategory(PendingForm& form, std::string_view name) {
    form.record.category = kCustomCategory;
    for (std::uint8_t code = 0; code < kCategoryNames.size(); ++code) {
      if (kCategoryNames[code] == name) form.record.category = code;
    }
    if (form.record.category == kCustomCategory) {
      form.extra.name = add8(name);
      form.hasExtra = true;
    }
  }
  void setUid(PendingForm& form, std::string_view uid) {
    if (uid.size() <= UINT16_MAX) {
      const TextRef ref = add8(uid);
      form.record.uidOffset = ref.offset;
      form.record.uidLength = static_cast<std::uint16_t>(ref.length);
    } else {
      form.record.flags |= kLongUid;
      form.extra.uid = add8(uid);
      form.hasExtra = true;
    }
  }
  void appendForm(PendingGroup& group, PendingForm form) {
    form.next = group.firstForm;
    group.firstForm = static_cast<std::uint32_t>(forms.size());
    forms.push_back(form);
    ++group.record.formCount;
    if (group.record.formCount == UINT16_MAX) tooLarge = true;
  }

  // The group of `key`, made (status 0) when there is none yet.
  PendingGroup& groupForKey(std::string_view key, bool* made) {
    if (index.size() < 2 * groups.size() + 16) reindex();
    const std::uint64_t hash = kv_hashText(key);
    const std::size_t mask = index.size() - 1;
    std::size_t i = hash & mask;
    for (; index[i] != 0; i = (i + 1) & mask) {
      if ((index[i] >> 32) != (hash >> 32)) continue;
      PendingGroup& group = groups[(index[i] & UINT32_MAX) - 1];
      if (text8At(group.record.key) == key) {
        *made = false;
        return group;
      }
    }
    *made = true;
    PendingGroup& group = groups.emplace_back();
    group.hash = hash;
    group.record.key = add8(key);
    index[i] = slotOf(hash, groups.size());
    return group;
  }
  static std::uint64_t slotOf(std::uint64_t hash, std::size_t groupPlusOne) {
    return (hash >> 32 << 32) | groupPlusOne;
  }
  void reindex() {
    index.assign(std::max<std::size_t>(64, std::bit_ceil(4 * groups.size() + 16)), 0);
    const std::size_t mask = index.size() - 1;
    for (std::size_t g = 0; g < groups.size(); ++g) {
      std::size_t i = groups[g].hash & mask;
      while (index[i] != 0) i = (i + 1) & mask;
      index[i] = slotOf(groups[g].hash, g + 1);
    }
  }
};

KVStringTableBuilder::KVStringTableBuilder() : state_(std::make_unique<State>()) {}
KVStringTableBuilder::~KVStringTableBuilder() = default;

void KVStringTableBuilder::reserve(std::size_t units, std::size_t bytes) {
  state_->groups.reserve(units);
  state_->forms.reserve(units);
  // Targets are about half a unit's markup; keys and ids a small part of it.
  state_->text16.reserve(bytes / 2);
  state_->text8.reserve(bytes / 4);
  state_->index.assign(std::max<std::size_t>(64, std::bit_ceil(4 * units + 16)), 0);
}

void KVStringTableBuilder::addUnit(std::string_view key, std::string_view uid,
                                   const std::optional<std::string>& pluralForm,
                                   std::u16string_view format, std::u16string_view note,
                                   unsigned status) {
  State& s = *state_;
  bool made = false;
  State::PendingGroup& group = s.groupForKey(key, &made);
  if (!made) group.record.status = status;
  group.record.flags = pluralForm ? kHasPlurals : 0;
  const std::string_view name = pluralForm ? std::string_view(*pluralForm) : kNoPluralFormName;
  State::PendingForm form;
  s.setCategory(form, name);
  s.setUid(form, uid);
  form.record.format = s.add16(format);
  form.record.flags |= pluralForm ? kHasPluralForm : 0;
  if (format.find(kv_placeholderBeginCue) != std::u16string_view::npos) {
    form.record.flags |= kDynamic;
  }
  if (!note.empty()) {
    form.extra.note = s.add16(note);
    form.hasExtra = true;
  }
  // A later unit of the same category replaces the form, as a group's map would.
  for (std::uint32_t f = group.firstForm; f != KVStringTable::npos; f = s.forms[f].next) {
    if (s.categoryName(s.forms[f]) == name) {
      form.next = s.forms[f].next;
      s.forms[f] = form;
      return;
    }
  }
  s.appendForm(group, form);
}

void KVStringTableBuilder::addGroup(std::string_view foundBy, const KVStringGroup& group) {
  State& s = *state_;
  bool made = false;
  State::PendingGroup& pending = s.groupForKey(foundBy, &made);
  if (!made) return;  // a dictionary has one group by key
  pending.record.status = group.status;
  pending.record.flags = group.hasPlurals ? kHasPlurals : 0;
  if (!group.rejectReason.empty() || !group.rejectDescription.empty() || group.key != foundBy) {
    pending.extra.reason = s.add16(group.rejectReason);
    pending.extra.description = s.add16(group.rejectDescription);
    if (group.key != foundBy) {
      pending.record.flags |= kOwnGroupKey;
      pending.extra.ownKey = s.add8(group.key);
    }
    pending.hasExtra = true;
  }
  for (const auto& [name, form] : group.pluralForms) {
    State::PendingForm pendingForm;
    s.setCategory(pendingForm, name);
    s.setUid(pendingForm, form->uid);
    Form& record = pendingForm.record;
    FormExtra& extra = pendingForm.extra;
    record.format = s.add16(form->localizedFormat);
    record.flags |= (form->dynamic ? kDynamic : 0) | (form->fromBase ? kFromBase : 0);
    if (form->pluralForm) {
      record.flags |= kHasPluralForm;
      if (*form->pluralForm != name) {
        record.flags |= kOwnPluralForm;
        extra.pluralForm = s.add8(*form->pluralForm);
      }
    }
    if (form->key != group.key) {
      record.flags |= kOwnKey;
      extra.ownKey = s.add8(form->key);
    }
    if (!sameSpecifiers(form->argumentFormatSpecifiers,
                        placeholderSpecifiers(form->localizedFormat, form->dynamic))) {
      record.flags |= kOwnSpecifiers;
      extra.specifiers.offset = static_cast<std::uint32_t>(s.spans.size());
      extra.specifiers.length = static_cast<std::uint32_t>(form->argumentFormatSpecifiers.size());
      for (const auto& specifier : form->argumentFormatSpecifiers) {
        s.spans.push_back(s.add16(specifier));
      }
    }
    if (!form->note.empty()) extra.note = s.add16(form->note);
    pendingForm.hasExtra |= (record.flags & kFlagsNeedingExtra) || !form->note.empty();
    s.appendForm(pending, pendingForm);
  }
}

std::shared_ptr<const KVStringTable> KVStringTableBuilder::finish(
    const KVStringTable::SourceStamp& source) {
  State& s = *state_;
  if (s.tooLarge || s.groups.size() >= UINT32_MAX / 4 || s.forms.size() >= UINT32_MAX / 2) {
    return nullptr;
  }
  std::vector<Group> groups;
  std::vector<Form> forms;
  std::vector<FormExtra> formExtras;
  std::vector<GroupExtra> groupExtras;
  groups.reserve(s.groups.size());
  forms.reserve(s.forms.size());
  std::vector<const State::PendingForm*> ofGroup;
  for (State::PendingGroup& pending : s.groups) {
    Group record = pending.record;
    if (pending.hasExtra) {
      groupExtras.push_back(pending.extra);
      record.extra = static_cast<std::uint32_t>(groupExtras.size());
    }
    record.firstForm = static_cast<std::uint32_t>(forms.size());
    ofGroup.clear();
    for (std::uint32_t f = pending.firstForm; f != KVStringTable::npos; f = s.forms[f].next) {
      ofGroup.push_back(&s.forms[f]);
    }
    std::sort(ofGroup.begin(), ofGroup.end(), [&s](const auto* a, const auto* b) {
      return s.categoryName(*a) < s.categoryName(*b);
    });
    for (const State::PendingForm* form : ofGroup) {
      Form placed = form->record;
      if (form->hasExtra) {
        formExtras.push_back(form->extra);
        placed.extra = static_cast<std::uint32_t>(formExtras.size());
      }
      forms.push_back(placed);
    }
    groups.push_back(record);
  }

  Header header{};
  std::memcpy(header.magic, kMagic, sizeof kMagic);
  header.version = KVStringTable::kImageVersion;
  header.byteOrder = kByteOrderMark;
  header.sourceSize = source.size;
  header.sourceHash = source.contentHash;
  header.sourceKind = source.kind;
  header.groupCount = static_cast<std::uint32_t>(groups.size());
  header.formCount = static_cast<std::uint32_t>(forms.size());
  header.formExtraCount = static_cast<std::uint32_t>(formExtras.size());
  header.groupExtraCount = static_cast<std::uint32_t>(groupExtras.size());
  header.spanCount = static_cast<std::uint32_t>(s.spans.size());
  header.text16Units = static_cast<std::uint32_t>(s.text16.size());
  header.text8Bytes = static_cast<std::uint32_t>(s.text8.size());
  header.slotCount = static_cast<std::uint32_t>(
      std::bit_ceil(std::max<std::size_t>(8, groups.size() + groups.size() / 3 + 1)));
  const Sections at = sectionsOf(header);
  header.totalSize = at.end;
  auto image = std::make_shared<std::vector<std::uint64_t>>(at.end / 8);
  auto* bytes = reinterpret_cast<char*>(image->data());
  auto* slots = reinterpret_cast<std::uint64_t*>(bytes + at.slots);
  const std::uint64_t mask = header.slotCount - 1;
  for (std::size_t g = 0; g < groups.size(); ++g) {
    const std::uint64_t hash = s.groups[g].hash;
    std::uint64_t i = hash & mask;
    while (slots[i] != 0) i = (i + 1) & mask;
    slots[i] = State::slotOf(hash, g + 1);
  }
  copyInto(bytes + at.groups, groups);
  copyInto(bytes + at.forms, forms);
  copyInto(bytes + at.formExtras, formExtras);
  copyInto(bytes + at.groupExtras, groupExtras);
  copyInto(bytes + at.spans, s.spans);
  std::memcpy(bytes + at.text16, s.text16.data(), s.text16.size() * sizeof(char16_t));
  std::memcpy(bytes + at.text8, s.text8.data(), s.text8.size());
  std::memcpy(bytes, &header, sizeof header);
  header.checksum = checksumOf(std::string_view(bytes, at.end));
  std::memcpy(bytes, &header, sizeof header);
  state_ = std::make_unique<State>();
  // Laid out here: no need to check what was just written.
  std::shared_ptr<KVStringTable> table(new KVStringTable());
  table->owner_ = std::move(image);
  table->bytes_ = std::string_view(bytes, at.end);
  table->openSections(false);
  return table;
}

std::shared_ptr<const KVStringTable> KVStringTable::fromGroups(const KVStringGroups& groups,
                                                               const SourceStamp& source) {
  KVStringTableBuilder builder;
  builder.reserve(groups.size());
  for (const auto& [key, group] : groups) {
    if (group) builder.addGroup(key, *group);
  }
  return builder.finish(source);
}

std::shared_ptr<const KVStringTable> KVStringTable::fromImage(std::shared_ptr<const void> owner,
                                                              std::string_view bytes) {
  std::shared_ptr<KVStringTable> table(new KVStringTable());
  if (reinterpret_cast<std::uintptr_t>(bytes.data()) % alignof(std::uint64_t) != 0) {
    auto copy = std::make_shared<std::vector<std::uint64_t>>((bytes.size() + 7) / 8);
    std::memcpy(copy->data(), bytes.data(), bytes.size());
    bytes = std::string_view(reinterpret_cast<const char*>(copy->data()), bytes.size());
    owner = std::move(copy);
  }
  table->owner_ = std::move(owner);
  table->bytes_ = bytes;
  if (!table->openSections(true)) return nullptr;
  return table;
}

void KVStringTable::sealImageForTesting(std::string& image) {
  Header header;
  if (image.size() < sizeof header) return;
  std::memcpy(&header, image.data(), sizeof header);
  header.totalSize = image.size();
  header.checksum = checksumOf(image);
  std::memcpy(image.data(), &header, sizeof header);
}

bool KVStringTable::openSections(bool untrusted) {
  Header header;
  if (bytes_.size() < sizeof header) return false;
  std::memcpy(&header, bytes_.data(), sizeof header);
  if (std::memcmp(header.magic, kMagic, sizeof kMagic) != 0 || header.version != kImageVersion ||
      header.byteOrder != kByteOrderMark || header.totalSize != bytes_.size() ||
      header.reserved != 0 || header.unused != 0) {
    return false;
  }
  const Sections at = sectionsOf(header);
  if (at.end != bytes_.size() || (untrusted && checksumOf(bytes_) != header.checksum)) {
    return false;
  }
  const std::uint32_t slots = header.slotCount;
  if (slots == 0 || (slots & (slots - 1)) != 0 || slots <= header.groupCount) return false;

  source_ = {header.sourceSize, header.sourceHash, header.sourceKind};
  groupCount_ = header.groupCount;
  formCount_ = header.formCount;
  formExtraCount_ = header.formExtraCount;
  groupExtraCount_ = header.groupExtraCount;
  spanCount_ = header.spanCount;
  text16Size_ = header.text16Units;
  text8Size_ = header.text8Bytes;
  const char* base = bytes_.data();
  slots_ = reinterpret_cast<const std::uint64_t*>(base + at.slots);
  slotMask_ = slots - 1;
  groups_ = reinterpret_cast<const Group*>(base + at.groups);
  forms_ = reinterpret_cast<const Form*>(base + at.forms);
  formExtras_ = reinterpret_cast<const FormExtra*>(base + at.formExtras);
  groupExtras_ = reinterpret_cast<const GroupExtra*>(base + at.groupExtras);
  spans_ = reinterpret_cast<const TextRef*>(base + at.spans);
  text16_ = reinterpret_cast<const char16_t*>(base + at.text16);
  text8_ = base + at.text8;
  return !untrusted || recordsAreWhole();
}

bool KVStringTable::recordsAreWhole() const {
  std::size_t empty = 0;
  for (std::uint64_t i = 0; i <= slotMask_; ++i) {
    const std::uint64_t group = slots_[i] & UINT32_MAX;
    // An empty slot is all zero: a tag with no group would be taken for a group.
    if (group == 0 && slots_[i] != 0) return false;
    if (group == 0) ++empty;
    if (group > groupCount_) return false;
  }
  if (empty == 0) return false;
  std::uint64_t nextForm = 0;
  for (std::size_t g = 0; g < groupCount_; ++g) {
    const Group& group = groups_[g];
    if (group.firstForm != nextForm) return false;
    nextForm += group.formCount;
    if (!within(group.key, text8Size_) || nextForm > formCount_ || group.extra > groupExtraCount_ ||
        ((group.flags & kOwnGroupKey) && group.extra == 0)) {
      return false;
    }
  }
  if (nextForm != formCount_) return false;
  for (std::size_t e = 0; e < groupExtraCount_; ++e) {
    const GroupExtra& extra = groupExtras_[e];
    if (!within(extra.reason, text16Size_) || !within(extra.description, text16Size_) ||
        !within(extra.ownKey, text8Size_)) {
      return false;
    }
  }
  for (std::size_t f = 0; f < formCount_; ++f) {
    const Form& form = forms_[f];
    const bool needsExtra = form.category == kCustomCategory || (form.flags & kFlagsNeedingExtra);
    if (!within(form.format, text16Size_) ||
        std::uint64_t{form.uidOffset} + form.uidLength > text8Size_ ||
        form.extra > formExtraCount_ || form.category > kCustomCategory ||
        (needsExtra && form.extra == 0)) {
      return false;
    }
  }
  for (std::size_t e = 0; e < formExtraCount_; ++e) {
    const FormExtra& extra = formExtras_[e];
    if (!within(extra.note, text16Size_) || !within(extra.ownKey, text8Size_) ||
        !within(extra.name, text8Size_) || !within(extra.pluralForm, text8Size_) ||
        !within(extra.uid, text8Size_) || !within(extra.specifiers, spanCount_)) {
      return false;
    }
  }
  for (std::size_t s = 0; s < spanCount_; ++s) {
    if (!within(spans_[s], text16Size_)) return false;
  }
  return true;
}

std::size_t KVStringTable::formatBytes() const {
  std::size_t bytes = 0;
  for (std::size_t f = 0; f < formCount_; ++f) bytes += forms_[f].format.length * sizeof(char16_t);
  return bytes;
}

std::uint32_t KVStringTable::find(std::string_view key) const {
  const std::uint64_t hash = kv_hashText(key);
  const std::uint64_t tag = hash >> 32;
  for (std::uint64_t i = hash & slotMask_;; i = (i + 1) & slotMask_) {
    const std::uint64_t slot = slots_[i];
    if (slot == 0) return npos;
    const auto group = static_cast<std::uint32_t>(slot & UINT32_MAX) - 1;
    if ((slot >> 32) != tag) continue;
    // The form is wanted next: its record loads while the key is compared.
    __builtin_prefetch(&forms_[groups_[group].firstForm]);
    if (keyAt(group) == key) return group;
  }
}

std::string_view KVStringTable::keyAt(std::uint32_t group) const {
  const TextRef& key = groups_[group].key;
  return {text8_ + key.offset, key.length};
}

std::string_view KVStringTable::categoryOfForm(std::uint32_t form) const {
  const Form& record = forms_[form];
  if (record.category != kCustomCategory) return kCategoryNames[record.category];
  const TextRef& name = formExtras_[record.extra - 1].name;
  return {text8_ + name.offset, name.length};
}

std::uint32_t KVStringTable::formForCategory(std::uint32_t group, std::string_view category,
                                             bool strict) const {
  const Group& record = groups_[group];
  const std::uint32_t end = record.firstForm + record.formCount;
  for (std::uint32_t f = record.firstForm; f < end; ++f) {
    if (categoryOfForm(f) == category) return f;
  }
  if (strict || record.formCount == 0) return npos;
  for (std::uint32_t f = record.firstForm; f < end; ++f) {
    if (categoryOfForm(f) == "other") return f;
  }
  return record.firstForm;
}

std::optional<std::u16string_view> KVStringTable::defaultText(std::uint32_t group) const {
  const bool plurals = groups_[group].flags & kHasPlurals;
  return textForCategory(group, plurals ? "other" : kNoPluralFormName);
}

std::optional<std::u16string_view> KVStringTable::textForCategory(std::uint32_t group,
                                                                  std::string_view category) const {
  const std::uint32_t form = formForCategory(group, category, false);
  if (form == npos) return std::nullopt;
  return formatOfForm(form);
}

std::uint32_t KVStringTable::groupOfForm(std::uint32_t form) const {
  // Forms are laid out group after group: the last group starting at or before the form.
  std::uint32_t low = 0;
  std::uint32_t high = static_cast<std::uint32_t>(groupCount_);
  while (high - low > 1) {
    const std::uint32_t middle = low + (high - low) / 2;
    if (groups_[middle].firstForm <= form) {
      low = middle;
    } else {
      high = middle;
    }
  }
  return low;
}

std::u16string_view KVStringTable::formatOfForm(std::uint32_t form) const {
  const TextRef& format = forms_[form].format;
  return {text16_ + format.offset, format.length};
}

bool KVStringTable::formIsDynamic(std::uint32_t form) const {
  return forms_[form].flags & kDynamic;
}

std::shared_ptr<KVStringGroup> KVStringTable::makeGroup(std::uint32_t index) const {
  const auto text16 = [this](const TextRef& ref) {
    return std::u16string(text16_ + ref.offset, ref.length);
  };
  const auto text8 = [this](const TextRef& ref) {
    return std::string(text8_ + ref.offset, ref.length);
  };
  const Group& record = groups_[index];
  auto group = std::make_shared<KVStringGroup>();
  group->key = keyAt(index);
  group->status = record.status;
  group->hasPlurals = record.flags & kHasPlurals;
  if (record.extra != 0) {
    const GroupExtra& extra = groupExtras_[record.extra - 1];
    group->rejectReason = text16(extra.reason);
    group->rejectDescription = text16(extra.description);
    if (record.flags & kOwnGroupKey) group->key = text8(extra.ownKey);
  }
  for (std::uint32_t f = record.firstForm; f < record.firstForm + record.formCount; ++f) {
    const Form& form = forms_[f];
    const FormExtra* extra = form.extra != 0 ? &formExtras_[form.extra - 1] : nullptr;
    auto string = std::make_shared<KVString>();
    string->key = (form.flags & kOwnKey) ? text8(extra->ownKey) : group->key;
    string->uid = (form.flags & kLongUid) ? text8(extra->uid)
                                          : std::string(text8_ + form.uidOffset, form.uidLength);
    const std::string category(categoryOfForm(f));
    if (form.flags & kHasPluralForm) {
      string->pluralForm = (form.flags & kOwnPluralForm) ? text8(extra->pluralForm) : category;
    }
    string->dynamic = form.flags & kDynamic;
    string->fromBase = form.flags & kFromBase;
    string->localizedFormat = std::u16string(formatOfForm(f));
    if (extra != nullptr) string->note = text16(extra->note);
    if (form.flags & kOwnSpecifiers) {
      for (std::uint32_t s = 0; s < extra->specifiers.length; ++s) {
        string->argumentFormatSpecifiers.push_back(text16(spans_[extra->specifiers.offset + s]));
      }
    } else {
      for (const auto specifier : placeholderSpecifiers(string->localizedFormat, string->dynamic)) {
        string->argumentFormatSpecifiers.emplace_back(specifier);
      }
    }
    string->recalculateHash();
    string->group = group;
    group->pluralForms[category] = std::move(string);
  }
  return group;
}

}  // namespace kolvane
