// The toolkit adapter's host as the models reach it, and the alerts they show through it.
#include "capture/tool_host.h"

#include "base/server_text.h"
#include "base/utf.h"

namespace kolvane {
namespace {

std::shared_ptr<KVToolHost>& installedHost() {
  static std::shared_ptr<KVToolHost> host;
  return host;
}

}  // namespace

KVHostView::~KVHostView() = default;
KVToolHost::~KVToolHost() = default;

std::shared_ptr<KVToolHost> kv_toolHost() { return installedHost(); }

void kv_setToolHost(std::shared_ptr<KVToolHost> host) { installedHost() = std::move(host); }

std::u16string kv_errorDetails(const KVError& error) {
  std::string details = error.domain + " " + std::to_string(error.code);
  for (const std::string* part : {&error.localizedDescription, &error.details}) {
    if (!part->empty()) details += ": " + *part;
  }
  return kv_shownServerText(details);
}

void kv_showErrorAlert(std::u16string title, const KVError& error) {
  if (const auto host = kv_toolHost()) {
    host->showAlert({std::move(title),
                     toUtf16(error.localizedDescription),
                     u"OK",
                     {},
                     0,
                     kv_errorDetails(error)},
                    {});
  }
}

}  // namespace kolvane
