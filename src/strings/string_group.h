// KVStringGroup: the forms of one key (one for an ordinary string, one per plural category)
// and the review state of that key. Main thread only while it is being built or edited.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "strings/string_record.h"

namespace kolvane {

// Review states of a key.
enum KVStringStatus : unsigned {
  KVStringStatusNone = 0,
  KVStringStatusPublished = 1,
  KVStringStatusAccepted = 2,
  KVStringStatusRejected = 3,
  KVStringStatusUntranslated = 4,
};

// "", "PUBLISHED", "ACCEPTED", "REJECTED", "UNTRANSLATED", or "UNKNOWN" for other values.
std::string_view statusName(unsigned status);

inline constexpr std::string_view kNoPluralFormName = "none";

class KVStringGroup : public std::enable_shared_from_this<KVStringGroup> {
 public:
  std::string key;
  std::map<std::string, std::shared_ptr<KVString>, std::less<>> pluralForms;  // category to form
  bool hasPlurals = false;
  std::u16string rejectReason;
  std::u16string rejectDescription;
  unsigned status = KVStringStatusNone;

  // Holds `form` under its category ("none" for an ordinary string), replacing any form of
  // that name, and points the form back at this group. The group takes the key of the first
  // form added.
  void addStringForm(const std::shared_ptr<KVString>& form);

  // The form of a category (no category: "other" when the group has plurals, else "none").
  // Not strict, a missing category falls back to "other", then to any form.
  std::shared_ptr<KVString> stringForPluralForm(const std::optional<std::string>& name,
                                                bool strict) const;
  // The same choice without taking a reference: the group keeps the form alive.
  const KVString* formForPluralForm(std::string_view name, bool strict) const;
  const KVString* defaultForm() const;

  // The unit id shared by the forms: the default form's uid up to its first "[".
  std::optional<std::string> uid() const;

  // The category names present, in the order zero, one, two, few, many, other.
  std::vector<std::string> sortedPluralFormNames() const;

  // A copy holding copies of the forms; the copied forms have no group until added to one.
  std::shared_ptr<KVStringGroup> copy() const;

  std::string description() const;

 private:
  const std::shared_ptr<KVString>* findForm(std::string_view name, bool strict) const;
  std::string_view defaultFormName() const;
};

struct KVStringHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const noexcept {
    return std::hash<std::string_view>{}(text);
  }
};

struct KVTextHash {
  using is_transparent = void;
  std::size_t operator()(std::u16string_view text) const noexcept {
    return std::hash<std::u16string_view>{}(text);
  }
};

// Key to the forms of that key: the dictionaries of stores, readers and writers.
using KVStringGroups =
    std::unordered_map<std::string, std::shared_ptr<KVStringGroup>, KVStringHash, std::equal_to<>>;

}  // namespace kolvane
