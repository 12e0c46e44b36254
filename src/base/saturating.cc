#include "base/saturating.h"

#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace kolvane {

std::optional<long long> saturatingInteger(const nlohmann::json& value) {
  if (value.is_number_unsigned()) {
    const auto number = value.get<std::uint64_t>();
    constexpr auto highest = static_cast<std::uint64_t>(std::numeric_limits<long long>::max());
    return static_cast<long long>(number > highest ? highest : number);
  }
  if (value.is_number_integer()) return value.get<long long>();
  if (value.is_number_float()) {
    const double number = value.get<double>();
    if (std::isnan(number)) return std::nullopt;
    return saturatingCast<long long>(number);
  }
  return std::nullopt;
}

std::optional<long long> saturatingIntegerFromText(std::string_view text) {
  if (text.empty() || std::isspace(static_cast<unsigned char>(text.front()))) return std::nullopt;
  long long whole = 0;
  const char* end = text.data() + text.size();
  if (auto [at, error] = std::from_chars(text.data(), end, whole);
      error == std::errc() && at == end) {
    return whole;
  }
  // Out of range or not an integer: read it as a double, which saturates instead.
  double number = 0;
  const std::string copy(text);  // strtod needs a terminated text
  char* stop = nullptr;
  number = std::strtod(copy.c_str(), &stop);
  if (stop != copy.c_str() + copy.size() || std::isnan(number)) return std::nullopt;
  return saturatingCast<long long>(number);
}

}  // namespace kolvane
