// KVAnalytics: a journal of usage events kept on the device. Events are recorded on a serial
// queue of their own and the whole journal is rewritten to a file after each one. A send step,
// at most once a day, builds the base64 payload of the journal; no transport exists, so the
// payload is dropped and the journal is never emptied by sending.
//
// Recording and sending run on the queue; timers belong to the caller's (main) thread.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "base/serial_queue.h"

namespace kolvane {

class KVAnalytics {
 public:
  using Properties = nlohmann::ordered_json;

  static KVAnalytics& sharedInstance();

  // Queues the recording of an event; returns at once. The caller's parameters come last and
  // override the context properties of the same name.
  static void trackEvent(std::string_view name, const Properties& params = nullptr);
  static void startEventTimer(std::string_view name);
  // Tracks the event with "duration" (seconds since the timer started) when a timer runs for
  // it. The timer keeps running: a later stop measures from the same start again.
  static void stopEventTimer(std::string_view name, const Properties& params = nullptr);
  // Queues the send step.
  static void uploadEvents();

  // Queue only, except in tests (waitUntilIdle first).
  std::string saveFilePath() const;
  void loadSavedEvents();
  void saveEvents();
  void clearSavedEvents();
  // The base64 payload when one was built (none when throttled or nothing to send).
  std::optional<std::string> sendEvents();

  // Returns once every queued recording and send has run.
  void waitUntilIdle() { queue_.waitUntilIdle(); }

  std::optional<Properties> events;  // the journal, oldest first; none until loaded
  std::optional<double> lastSendDate;
  std::map<std::string, double, std::less<>> timers;

 private:
  KVAnalytics() = default;
  void record(const std::string& name, const Properties& params);
  Properties contextProperties() const;

  SerialQueue queue_;
};

}  // namespace kolvane
