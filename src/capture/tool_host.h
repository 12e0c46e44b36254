// The toolkit adapter's host, as the tool's models reach it. Main thread.
#pragma once

#include <memory>

#include "kolvane/tool.h"

namespace kolvane {

// The installed host, or none.
std::shared_ptr<KVToolHost> kv_toolHost();
void kv_setToolHost(std::shared_ptr<KVToolHost> host);

}  // namespace kolvane
