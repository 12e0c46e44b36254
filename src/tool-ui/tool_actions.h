// The tool's screens that the menu gesture and a failed save open. Main thread.
#pragma once

#include "base/error.h"

namespace kolvane {

// The menu gesture was recognised: saves an open edition screen, then shows the actions menu,
// or the login first when nobody is signed in.
void kv_openActionsOrLogin();
// The window texts gesture: saves an open edition screen, then lists the key window's texts.
void kv_openWindowTexts();
// A save failed: the edit stays in memory and goes with the next save, and the reviewer must
// know it is not on the device yet.
void kv_tellReviewerOfSaveFailure(const KVError& error);

}  // namespace kolvane
