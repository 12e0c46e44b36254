// Identifiers from outside (locale ids, bundle identifiers) become parts of file paths. Only a
// plain name may: one that cannot leave the folder it is put in.
#pragma once

#include <string_view>

namespace kolvane {

// Not empty, not "." or "..", and no "/", "\" or NUL in it.
constexpr bool isPlainName(std::string_view name) {
  if (name.empty() || name == "." || name == "..") return false;
  return name.find_first_of(std::string_view("/\\\0", 3)) == std::string_view::npos;
}

}  // namespace kolvane
