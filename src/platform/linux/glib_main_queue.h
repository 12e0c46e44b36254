// The main queue on GLib's default main context: tasks run when the main thread iterates it
// (g_main_loop_run, g_main_context_iteration). Any thread may post.
#pragma once

#include "kolvane/platform.h"

namespace kolvane {

class GlibMainQueue : public MainQueue {
 public:
  void post(std::function<void()> task) override;
};

}  // namespace kolvane
