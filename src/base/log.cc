#include "base/log.h"

#include <string>

namespace kolvane {
namespace {

constinit std::atomic<LogLineWriter> gWriter{nullptr};

}  // namespace

LogSwitches& logSwitches() {
  static LogSwitches switches;
  return switches;
}

void setLogLineWriter(LogLineWriter writer) { gWriter.store(writer, std::memory_order_release); }

void kvLog(std::string_view message) {
  const LogLineWriter writer = gWriter.load(std::memory_order_acquire);
  if (writer == nullptr) return;
  std::string line = "[KV] ";
  line += message;
  writer(line);
}

}  // namespace kolvane
