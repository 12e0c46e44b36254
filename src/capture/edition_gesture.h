// What a press for editing opens. Main thread.
#pragma once

#include <memory>

#include "kolvane/edition_screen.h"
#include "kolvane/host_view.h"

namespace kolvane {

// Opens the edition screen for the strings found in `touchedView` (the deepest view under
// the finger), or else in its nearest ancestor holding some; answers it, or none when nothing
// was found.
std::shared_ptr<KVEditionScreen> kv_openEditionForTouchedView(
    const std::shared_ptr<KVHostView>& touchedView);

}  // namespace kolvane
