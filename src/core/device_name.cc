#include "core/device_name.h"

#include "kolvane/platform.h"

namespace kolvane {

std::string deviceName() { return Platform::current().deviceName(); }

}  // namespace kolvane
