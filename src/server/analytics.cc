#include "server/analytics.h"

#include "base/bounded_json.h"
#include "base/error.h"
#include "base/log.h"
#include "core/device_name.h"
#include "core/main_controller.h"
#include "core/version.h"
#include "kolvane/platform.h"
#include "strings/base64.h"

namespace kolvane {
namespace {

constexpr double kSecondsBetweenSends = 86400;

}  // namespace

KVAnalytics& KVAnalytics::sharedInstance() {
  // Never destroyed: its queue may still be writing the journal while the process exits.
  static KVAnalytics* instance = new KVAnalytics;
  return *instance;
}

void KVAnalytics::trackEvent(std::string_view name, const Properties& params) {
  KVAnalytics& analytics = sharedInstance();
  analytics.queue_.post(
      [&analytics, name = std::string(name), params] { analytics.record(name, params); });
}

void KVAnalytics::startEventTimer(std::string_view name) {
  sharedInstance().timers[std::string(name)] = Platform::current().now();
}

void KVAnalytics::stopEventTimer(std::string_view name, const Properties& params) {
  const auto& timers = sharedInstance().timers;
  const auto started = timers.find(name);
  if (started == timers.end()) return trackEvent(name, params);
  Properties timed = params.is_object() ? params : Properties::object();
  timed["duration"] = Platform::current().now() - started->second;
  trackEvent(name, timed);
}

void KVAnalytics::uploadEvents() {
  KVAnalytics& analytics = sharedInstance();
  analytics.queue_.post([&analytics] { analytics.sendEvents(); });
}

std::string KVAnalytics::saveFilePath() const {
  return KVMainController::kolvaneFilesFolder() + "/analytics";
}

KVAnalytics::Properties KVAnalytics::contextProperties() const {
  const Platform& platform = Platform::current();
  const auto languages = platform.textServices().preferredLanguages();
  Properties properties = Properties::object();
  properties["time"] = platform.now();
  properties["platform"] = "iOS";
  properties["iosVersion"] = platform.systemVersion();
  properties["device"] = deviceName();
  properties["sdkVersion"] = kKolvaneVersion;
  properties["systemLanguage"] = languages.empty() ? std::string() : languages.front();
  properties["systemRegionFormat"] = platform.textServices().currentLocaleIdentifier();
  const KVMainController& controller = KVMainController::sharedInstance();
  if (const auto& appId = controller.appId()) properties["projectId"] = *appId;
  if (const auto locale = controller.locale())
    properties["kolvaneLocale"] = locale->localeIdentifier();
  return properties;
}

void KVAnalytics::record(const std::string& name, const Properties& params) {
  if (!events) loadSavedEvents();
  Properties properties = contextProperties();
  if (params.is_object()) {
    for (const auto& [key, value] : params.items()) properties[key] = value;
  }
  events->push_back({{"event", name}, {"properties", std::move(properties)}});
  saveEvents();
}

void KVAnalytics::loadSavedEvents() {
  Properties loaded = Properties::array();
  if (const auto bytes = Platform::current().fileSystem().readFile(saveFilePath())) {
    const Properties saved = parseBoundedJson<Properties>(*bytes);
    if (saved.is_object()) {
      if (const auto found = saved.find("events"); found != saved.end() && found->is_array()) {
        for (const auto& event : *found) loaded.push_back(event);
      }
      if (const auto found = saved.find("lastSent"); found != saved.end() && found->is_number()) {
        lastSendDate = found->get<double>();
      }
    }
  }
  events = std::move(loaded);
}

void KVAnalytics::saveEvents() {
  Properties journal = Properties::object();
  if (events) journal["events"] = *events;
  if (lastSendDate) journal["lastSent"] = *lastSendDate;
  const std::string text = journal.dump(-1, ' ', false, Properties::error_handler_t::replace);
  // The journal is rewritten in place, as it always was; a failed write only costs events.
  if (!Platform::current().fileSystem().writeFile(saveFilePath(), text)) {
    kvDebug("Could not save the analytics journal");
  }
}

void KVAnalytics::clearSavedEvents() {
  events = Properties::array();
  saveEvents();
}

std::optional<std::string> KVAnalytics::sendEvents() {
  const double now = Platform::current().now();
  if (lastSendDate && now - *lastSendDate < kSecondsBetweenSends) return std::nullopt;
  if (!events) loadSavedEvents();
  if (events->empty()) return std::nullopt;
  const std::string serialised = events->dump(-1, ' ', false, Properties::error_handler_t::replace);
  auto payload = kv_base64EncodedString(serialised);
  if (!payload) {
    // Made and dropped: nothing waits for the result of a send.
    [[maybe_unused]] const KVError error{"analytics", 500, "Could not encode events to base 64"};
    return std::nullopt;
  }
  lastSendDate = now;
  return payload;
}

}  // namespace kolvane
