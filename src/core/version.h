// The library's version, as reported in usage events and the exported version symbols.
#pragma once

namespace kolvane {

inline constexpr const char* kKolvaneVersion = "0.1.0";
inline constexpr double kKolvaneVersionNumber = 0.1;

}  // namespace kolvane
