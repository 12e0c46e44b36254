// The toolkit adapter's host, as the tool's models reach it. Main thread.
#pragma once

#include <memory>
#include <string>

#include "base/error.h"
#include "kolvane/tool_host.h"

namespace kolvane {

// The installed host, or none.
std::shared_ptr<KVToolHost> kv_toolHost();
void kv_setToolHost(std::shared_ptr<KVToolHost> host);
// What an alert's "Details" shows of an error: its domain, code, description and technical
// cause (which may hold a server's text, so it is shown as one).
std::u16string kv_errorDetails(const KVError& error);
// Tells the reviewer of a failure in an alert with one button, the error's description as
// its message. Nothing without a host.
void kv_showErrorAlert(std::u16string title, const KVError& error);

}  // namespace kolvane
