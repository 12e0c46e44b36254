// KVString: one text of one key in one plural form, with its format specifiers marked and the
// lowercased matching key by which a string shown on screen is found again.
// A plain record; share it read-only between threads once it is in a store.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kolvane {

class KVStringGroup;

class KVString {
 public:
  std::string key;
  std::string uid;  // for a plural form it ends in "[" + category + "]"
  std::optional<std::string> pluralForm;
  std::weak_ptr<KVStringGroup> group;  // the group holding this form; never owning
  bool dynamic = false;
  bool fromBase = false;
  std::u16string localizedFormat;
  std::u16string note;
  std::u16string localizedHash;
  std::vector<std::u16string> argumentFormatSpecifiers;

  // Takes the format of a text whose placeholders are already marked: `localizedFormat`,
  // `dynamic`, the specifiers (kept from before when the record is already dynamic) and, unless
  // told not to (a table derives it when asked), the matching key.
  void extractFormatFromString(std::u16string markedText, bool withMatchingKey = true);
  // The matching key: the format lowercased, with every placeholder emptied when dynamic.
  void recalculateHash();
  // A copy without the back reference to the group.
  std::shared_ptr<KVString> copy() const;
  // "<KVString (key) format (category)>", cues shown as brackets.
  std::string description() const;
};

// The matching key of a format: lowercased, with every placeholder emptied when dynamic.
std::u16string kv_matchingKey(std::u16string_view format, bool dynamic);

// An argument value of a displayed string: the text shown in place of a specifier, or the
// record of a string nested there.
using KVArgumentValue = std::variant<std::u16string, std::shared_ptr<const KVString>>;

}  // namespace kolvane
