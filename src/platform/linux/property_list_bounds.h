// Bounds checked on a property list before libplist reads it: libplist builds its tree
// recursively, so a deeply nested document overflows the stack, and a binary one whose objects
// share children expands exponentially into that tree. Any thread.
#pragma once

#include <cstddef>
#include <string_view>

namespace kolvane {

struct PropertyListLimits {
  std::size_t bytes = 16u << 20;         // the whole file
  std::size_t depth = 128;               // containers inside containers
  std::size_t expandedNodes = 1u << 20;  // values of the tree once shared children are copied
};

// True when an XML or binary property list stays within `limits`, a binary one's object table
// is whole and free of cycles, and no text holds a NUL character (libplist aborts on one).
bool propertyListWithinBounds(std::string_view bytes, const PropertyListLimits& limits = {});

}  // namespace kolvane
