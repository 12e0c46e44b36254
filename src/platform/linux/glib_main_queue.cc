#include "platform/linux/glib_main_queue.h"

#include <glib.h>

#include <algorithm>

#include "base/callback_guard.h"
#include "base/saturating.h"
#include "kolvane/linux_platform.h"

namespace kolvane {
namespace {

gboolean runTask(gpointer data) {
  auto* task = static_cast<std::function<void()>*>(data);
  // A task must never unwind into GLib's C frames.
  guardCallback("A main-queue task", [task] { (*task)(); });
  return G_SOURCE_REMOVE;
}

void deleteTask(gpointer data) { delete static_cast<std::function<void()>*>(data); }

}  // namespace

bool runMainQueueUntil(const std::function<bool()>& done, double seconds) {
  const gint64 now = g_get_monotonic_time();
  const gint64 wait = std::max<gint64>(0, saturatingCast<gint64>(seconds * 1e6));
  const gint64 deadline = wait > G_MAXINT64 - now ? G_MAXINT64 : now + wait;
  while (!done()) {
    if (g_get_monotonic_time() > deadline) return false;
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    if (!done()) g_usleep(1000);
  }
  return true;
}

void GlibMainQueue::post(std::function<void()> task) {
  if (!task) return;
  // An idle source on the default context runs after the caller returns, on the thread that
  // iterates the context, unlike g_main_context_invoke which may run it at once.
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  g_source_set_callback(source, runTask, new std::function<void()>(std::move(task)), deleteTask);
  g_source_attach(source, nullptr);
  g_source_unref(source);
}

}  // namespace kolvane
