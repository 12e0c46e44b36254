#include "kolvane/locale.h"

#include <cmath>
#include <limits>

#include "kolvane/number.h"
#include "kolvane/platform.h"

namespace kolvane {

std::string Locale::languageCode() const {
  return Platform::current().textServices().languageCode(identifier_);
}

std::string Locale::countryCode() const {
  return Platform::current().textServices().countryCode(identifier_);
}

std::int64_t Number::longLongValue() const {
  if (!isFloating_) return integer_;
  if (std::isnan(floating_)) return 0;
  // Casting a double outside the int64 range is undefined; saturate instead.
  constexpr double kLimit = 9223372036854775807.0;
  if (floating_ >= kLimit) return std::numeric_limits<std::int64_t>::max();
  if (floating_ <= -kLimit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(floating_);
}

float Number::floatValue() const {
  return isFloating_ ? static_cast<float>(floating_) : static_cast<float>(integer_);
}

}  // namespace kolvane
