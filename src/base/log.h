// The runtime's log: one line per entry, "[KV] " and the message, handed to the line writer the
// platform layer installs. The `log` and `debug` switches are read on every thread, so they are
// atomics.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

namespace kolvane {

struct LogSwitches {
  std::atomic<bool> log{false};
  std::atomic<bool> debug{false};
};

LogSwitches& logSwitches();

inline bool logEnabled() { return logSwitches().log.load(std::memory_order_relaxed); }
inline bool debugEnabled() { return logSwitches().debug.load(std::memory_order_relaxed); }

// Where finished lines go. Until one is set, lines are dropped.
using LogLineWriter = void (*)(std::string_view line);
void setLogLineWriter(LogLineWriter writer);

// True for the names (any case) of parameters, fields and headers that carry secrets.
bool isSecretName(std::string_view name);
// The text with the value of every secret URL query or form parameter ("code=...") replaced
// by "[redacted]".
std::string withSecretParametersRedacted(std::string_view text);

// Writes the line whatever the switches say; callers test them first, as each caller's rule
// differs. Secret parameters of any URL or form in it are redacted here, so no caller can
// leak one.
void kvLog(std::string_view message);

// The two usual rules: lines shown with `log` on, and detailed lines shown with `debug` on.
inline void kvLogIfEnabled(std::string_view message) {
  if (logEnabled()) kvLog(message);
}
inline void kvDebug(std::string_view message) {
  if (debugEnabled()) kvLog(message);
}

}  // namespace kolvane
