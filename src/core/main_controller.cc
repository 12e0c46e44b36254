#include "core/main_controller.h"

#include "base/log.h"
#include "base/plain_name.h"
#include "base/saturating.h"
#include "core/environment.h"
#include "core/locale_identifiers.h"
#include "core/locale_strings.h"
#include "core/reviewer_services.h"
#include "core/workflow_step.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "strings/string_group.h"

namespace kolvane {
namespace {

constexpr std::string_view kWorkflowStepDefaultsKey = "KVWorkflowStep";
constexpr std::string_view kLocaleDefaultsKey = "KVLocale";
constexpr std::string_view kDevelopmentRegionKey = "CFBundleDevelopmentRegion";

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
    kvLogIfEnabled("Failed to start Kolvane: invalid Project ID");
    return;
  }
  kvLogIfEnabled("Starting up Kolvane");
  {
    std::lock_guard lock(appIdMutex_);
    appId_ = projectId;
  }
  parseLaunchOptions(options);
  setupActions();
  loadSavedParameters();
  loadStrings();
  appLaunched_ = true;
}

void KVMainController::parseLaunchOptions(const nlohmann::json& options) {
  const nlohmann::json noOptions = nlohmann::json::object();
  const nlohmann::json& given = options.is_object() ? options : noOptions;
  if (const auto logging = given.find("logging"); logging != given.end()) {
    const auto level = saturatingInteger(*logging);
    if (level == 1 || level == 2) setLog(true);
    if (level == 2) setDebug(true);
  }
  const auto environment = given.find("environment");
  const bool staging =
      environment != given.end() && environment->is_string() && *environment == "stage";
  setEnvironment(staging ? KVEnvironmentStaging : KVEnvironmentProduction);
}

void KVMainController::setupActions() {
  // A reviewer who logged in during an earlier run is logged in again. The window gestures
  // come with the view toolkit.
  if (KVReviewerServices* services = reviewerServices()) services->restoreLogin();
}

void KVMainController::loadSavedParameters() {
  Platform& platform = Platform::current();
  if (const auto archived = savedString(kWorkflowStepDefaultsKey)) {
    if (auto step = KVWorkflowStep::unarchive(*archived)) {
      kvDebug("Using saved workflow step " + step->name);
      setWorkflowStep(std::move(step));
    }
  }
  const Locale base(platform.mainBundle().infoString(kDevelopmentRegionKey).value_or("en"));
  setBaseLocaleStrings(KVLocaleStrings::localeStringsForLocale(base));
  kvDebug("Project base locale " + base.localeIdentifier());
  if (const auto saved = savedString(kLocaleDefaultsKey); saved && !isPlainName(*saved)) {
    kvLogIfEnabled("Ignoring the saved locale \"" + *saved + "\": not a locale identifier");
  } else if (saved) {
    kvDebug("Using saved locale " + *saved);
    setLocaleStrings(KVLocaleStrings::localeStringsForLocale(Locale(*saved)));
  }
}

void KVMainController::logLoadedStrings() const {
  if (!debug()) return;
  const auto describe = [](const KVStringGroups* groups) {
    if (groups == nullptr) return std::string("(null)");
    std::string text = "{";
    for (const auto& [key, group] : *groups) {
      if (group) text += "\n    " + key + " = " + group->description() + ";";
    }
    return text + "\n}";
  };
  const auto shown = localeStrings();
  const auto base = baseLocaleStrings();
  kvLog("Loaded strings " + describe(shown ? shown->loadedStrings().get() : nullptr));
  kvLog("Dirty strings " + describe(shown ? &shown->dirtyStrings() : nullptr));
  kvLog("Base locale strings " + describe(base ? base->loadedStrings().get() : nullptr));
}

void KVMainController::reset() {
  setWorkflowStep(nullptr);
  setLocaleStrings(nullptr);
}

std::optional<Locale> KVMainController::locale() const {
  LookupGuard guard;
  const KVLocaleStrings* store = publishedLocaleStrings();
  if (store == nullptr) return std::nullopt;
  return store->locale();
}

bool KVMainController::editionEnabled() const {
  LookupGuard guard;
  const KVWorkflowStep* step = workflowStep_.get();
  if (step == nullptr || !step->canTranslate) return false;
  const KVReviewerServices* services = reviewerServices();
  return services != nullptr && services->isLoggedIn();
}

KVXliffContext KVMainController::xliffContext() const {
  const auto serverId = [](const std::shared_ptr<KVLocaleStrings>& store) {
    return store ? kolvaneLocaleIdentifier(store->locale()) : std::string();
  };
  KVXliffContext context;
  context.sourceLanguage = serverId(baseLocaleStrings());
  context.targetLanguage = serverId(localeStrings());
  if (const auto& step = workflowStep()) {
    context.phaseName = step->uid;
    context.processName = step->name;
  }
  context.sourceForm =
      [base = baseLocaleStrings()](const KVString& form) -> std::shared_ptr<const KVString> {
    return base ? base->kolvaneStringForKey(form.key, form.pluralForm) : nullptr;
  };
  return context;
}

std::string KVMainController::kolvaneFilesFolder() {
  return Platform::current().documentsFolder() + "/Kolvane";
}

std::optional<std::string> KVMainController::appId() const {
  std::lock_guard lock(appIdMutex_);
  return appId_;
}

bool KVMainController::log() const { return logEnabled(); }
void KVMainController::setLog(bool on) { logSwitches().log = on; }
bool KVMainController::debug() const { return debugEnabled(); }
void KVMainController::setDebug(bool on) { logSwitches().debug = on; }

void KVMainController::setWorkflowStep(std::shared_ptr<const KVWorkflowStep> step) {
  workflowStep_.set(std::move(step));
}

void KVMainController::setLocaleStrings(std::shared_ptr<KVLocaleStrings> store) {
  localeStrings_.set(std::move(store));
}

void KVMainController::setBaseLocaleStrings(std::shared_ptr<KVLocaleStrings> store) {
  baseLocaleStrings_.set(std::move(store));
}

void KVMainController::resetForTesting() {
  {
    std::lock_guard lock(appIdMutex_);
    appId_.reset();
  }
  appLaunched_ = false;
  setLog(false);
  setDebug(false);
  reset();
  setBaseLocaleStrings(nullptr);
  appCatalogue_.clear();
}

}  // namespace kolvane
