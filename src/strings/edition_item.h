// One marked string found in a displayed text: where it stands and how deeply it is nested.
// The edition controller adds what it needs to edit the string.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "kolvane/attributed_text.h"

namespace kolvane {

class KVStringGroup;

struct KVEditionItem {
  std::u16string string;  // the marked substring, both outer cues included
  KVRange range;
  unsigned level = 0;  // 1 for an outermost string
  // For an outermost string once traced: the group of its record and the record's category.
  std::shared_ptr<const KVStringGroup> targetString;
  std::optional<std::string> pluralForm;
};

}  // namespace kolvane
