// KVPluralForm: the plural category ("zero", "one", "two", "few", "many" or "other") under
// which a count is looked up, by a fixed table of rules per language. Stateless; any thread.
#pragma once

#include <optional>
#include <string>

#include "kolvane/locale.h"
#include "kolvane/number.h"

namespace kolvane {

class KVPluralForm {
 public:
  // Only the language part before the first "_" of the identifier selects the rules, matched
  // exactly: "en_US" follows English, "en-US" matches no language and always gives "other".
  // An absent value counts as 0; an absent locale gives "other".
  static std::string pluralFormForValue(const std::optional<Number>& value,
                                        const std::optional<Locale>& locale);
};

}  // namespace kolvane
