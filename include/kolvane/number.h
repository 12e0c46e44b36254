// A count handed to a plural lookup, read both as a whole number and as a float, because the
// plural rules of some languages test one and some the other.
#pragma once

#include <cstdint>
#include <type_traits>

#include "kolvane/export.h"

namespace kolvane {

class KOLVANE_EXPORT Number {
 public:
  // Example: KolvaneSDK::pluralizedStringWithKey("files", 3) or (..., 1.5).
  template <typename T, typename = std::enable_if_t<std::is_arithmetic_v<T>>>
  Number(T value)
      : isFloating_(std::is_floating_point_v<T>) {  // NOLINT(google-explicit-constructor)
    if constexpr (std::is_floating_point_v<T>) {
      floating_ = static_cast<double>(value);
    } else {
      integer_ = static_cast<std::int64_t>(value);
    }
  }

  // The value truncated toward zero; NaN reads as 0 and out-of-range values saturate.
  std::int64_t longLongValue() const;
  float floatValue() const;

 private:
  bool isFloating_;
  std::int64_t integer_ = 0;
  double floating_ = 0;
};

}  // namespace kolvane
