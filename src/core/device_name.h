// The hardware model of the device, for usage events. Any thread.
#pragma once

#include <string>

namespace kolvane {

// The `machine` field of uname(), such as "x86_64" or "aarch64".
std::string deviceName();

}  // namespace kolvane
