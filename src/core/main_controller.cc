#include "core/main_controller.h"

#include "core/locale_strings.h"
#include "core/server_url.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "platform/log.h"
#include "server/workflow_step.h"

namespace kolvane {
namespace {

constexpr std::string_view kWorkflowStepDefaultsKey = "KVWorkflowStep";
constexpr std::string_view kLocaleDefaultsKey = "KVLocale";
constexpr std::string_view kDevelopmentRegionKey = "CFBundleDevelopmentRegion";

void logIf(bool enabled, const std::string& message) {
  if (enabled) kvLog(message);
}

std::optional<long long> integerValue(const nlohmann::json& value) {
  if (value.is_number_integer()) return value.get<long long>();
  if (value.is_number_float()) return static_cast<long long>(value.get<double>());
  return std::nullopt;
}

std::optional<std::string> savedString(std::string_view key) {
  const auto value = Platform::current().userDefaults().objectForKey(key);
  if (!value || !value->is_string()) return std::nullopt;
  return value->get<std::string>();
}

}  // namespace

KVMainController& KVMainController::sharedInstance() {
  static KVMainController instance;
  return instance;
}

void KVMainController::startWithProjectId(const std::optional<std::string>& projectId,
                                          const nlohmann::json& options) {
  // Both lines test `log` before the options are read, so they show only when an earlier
  // start switched logging on. That order is deliberate.
  if (!projectId) {
    logIf(log(), "Failed to start Kolvane: invalid Project ID");
    return;
  }
  logIf(log(), "Starting up Kolvane");
  appId_ = projectId;
  parseLaunchOptions(options);
  setupActions();
  loadSavedParameters();
  appLaunched_ = true;
}

void KVMainController::parseLaunchOptions(const nlohmann::json& options) {
  const nlohmann::json noOptions = nlohmann::json::object();
  const nlohmann::json& given = options.is_object() ? options : noOptions;
  if (const auto logging = given.find("logging"); logging != given.end()) {
    const auto level = integerValue(*logging);
    if (level == 1 || level == 2) setLog(true);
    if (level == 2) setDebug(true);
  }
  const auto environment = given.find("environment");
  const bool staging =
      environment != given.end() && environment->is_string() && *environment == "stage";
  KVServerUrl::setEnvironment(staging ? KVEnvironmentStaging : KVEnvironmentProduction);
}

void KVMainController::setupActions() {
  // Restoring the reviewer's login and installing the window gestures belong here; this
  // build has neither a session nor a view toolkit yet.
}

void KVMainController::loadSavedParameters() {
  Platform& platform = Platform::current();
  if (const auto archived = savedString(kWorkflowStepDefaultsKey)) {
    if (auto step = KVWorkflowStep::unarchive(*archived)) {
      logIf(debug(), "Using saved workflow step " + step->name);
      setWorkflowStep(std::move(step));
    }
  }
  const Locale base(platform.mainBundle().infoString(kDevelopmentRegionKey).value_or("en"));
  setBaseLocaleStrings(KVLocaleStrings::localeStringsForLocale(base));
  logIf(debug(), "Project base locale " + base.localeIdentifier());
  if (const auto saved = savedString(kLocaleDefaultsKey)) {
    logIf(debug(), "Using saved locale " + *saved);
    setLocaleStrings(KVLocaleStrings::localeStringsForLocale(Locale(*saved)));
  }
}

void KVMainController::reset() {
  setWorkflowStep(nullptr);
  setLocaleStrings(nullptr);
}

std::optional<Locale> KVMainController::locale() const {
  const auto store = localeStrings();
  if (!store) return std::nullopt;
  return store->locale();
}

bool KVMainController::editionEnabled() const {
  const auto step = workflowStep();
  return step && step->canTranslate;
}

std::string KVMainController::kolvaneFilesFolder() {
  return Platform::current().documentsFolder() + "/Kolvane";
}

bool KVMainController::log() const { return logEnabled(); }
void KVMainController::setLog(bool on) { logSwitches().log = on; }
bool KVMainController::debug() const { return debugEnabled(); }
void KVMainController::setDebug(bool on) { logSwitches().debug = on; }

void KVMainController::setWorkflowStep(std::shared_ptr<const KVWorkflowStep> step) {
  workflowStep_.store(std::move(step));
}

void KVMainController::setLocaleStrings(std::shared_ptr<KVLocaleStrings> store) {
  localeStrings_.store(std::move(store));
}

void KVMainController::setBaseLocaleStrings(std::shared_ptr<KVLocaleStrings> store) {
  baseLocaleStrings_.store(std::move(store));
}

void KVMainController::resetForTesting() {
  appId_.reset();
  appLaunched_ = false;
  setLog(false);
  setDebug(false);
  reset();
  setBaseLocaleStrings(nullptr);
}

}  // namespace kolvane
