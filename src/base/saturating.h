// The one way a number from outside (start-up options, server answers, saved settings, command
// lines) becomes an integer: truncated toward zero and clamped to the type's range, so that
// 1e300, infinities and NaN have defined results instead of undefined behaviour.
#pragma once

#include <cmath>
#include <concepts>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

namespace kolvane {

// NaN gives `ifNaN`; everything else the nearest value of T toward zero.
template <std::integral T>
constexpr T saturatingCast(double value, T ifNaN = 0) {
  if (std::isnan(value)) return ifNaN;
  constexpr T lowest = std::numeric_limits<T>::min();
  constexpr T highest = std::numeric_limits<T>::max();
  if (value <= static_cast<double>(lowest)) return lowest;
  // The double nearest to `highest` may be one past it (2^63 for 64 bits): compare with >=.
  if (value >= static_cast<double>(highest)) return highest;
  return static_cast<T>(value);
}

// A JSON number as a saturated integer; none for anything that is not a number (or is NaN).
std::optional<long long> saturatingInteger(const nlohmann::json& value);

// Decimal text (an integer or a floating-point number, "inf" included) as a saturated integer;
// none when the whole text is not a number, or is NaN.
std::optional<long long> saturatingIntegerFromText(std::string_view text);

}  // namespace kolvane
