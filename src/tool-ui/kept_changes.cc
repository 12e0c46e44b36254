#include "tool-ui/kept_changes.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "base/log.h"
#include "capture/tool_host.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/persistence.h"
#include "core/workflow_step.h"
#include "kolvane/platform.h"
#include "server/session.h"

namespace kolvane {
namespace {

// {"reviewer": user id, "workflowStep": archived step}, in the user defaults so that it
// outlives a restart as the changes do.
constexpr std::string_view kKeptDefaultsKey = "KVKeptChanges";

std::optional<std::string> textOf(const nlohmann::json& record, const char* name) {
  const auto found = record.find(name);
  if (found == record.end() || !found->is_string()) return std::nullopt;
  return found->get<std::string>();
}

nlohmann::json keptRecord() {
  const auto saved = Platform::current().userDefaults().objectForKey(kKeptDefaultsKey);
  return saved && saved->is_object() ? *saved : nlohmann::json::object();
}

void saveDefault(std::string_view key, nlohmann::json value) {
  Platform::current().userDefaults().setObject(key, std::move(value));
  synchronizeDefaults();
}

bool keptForAnotherReviewer() {
  const auto owner = textOf(keptRecord(), "reviewer");
  return owner && owner != KVSession::sharedInstance().userId();
}

// Notes the signed-in reviewer's step for their next sign-in. A reviewer without one has
// nothing to hand back, and leaves an earlier note as it is.
void noteSignedInReviewer() {
  const auto& reviewer = KVSession::sharedInstance().userId();
  const auto& step = KVMainController::sharedInstance().workflowStep();
  if (!reviewer || !step) return;
  saveDefault(kKeptDefaultsKey, {{"reviewer", *reviewer}, {"workflowStep", step->archivedData()}});
}

}  // namespace

void KVKeptChanges::logOut(std::size_t unsent) {
  KVMainController& controller = KVMainController::sharedInstance();
  const auto shown = controller.localeStrings();
  // Changes noted as another reviewer's stay theirs: whoever is signed in now could not have
  // made any without choosing a step, which forgets the note.
  if (unsent == 0 || !keptForAnotherReviewer()) noteSignedInReviewer();
  // A save that failed earlier gets one more chance while the reviewer is still here.
  if (shown && !shown->changesKeptOnDevice()) (void)shown->saveDirty();
  KVSession::sharedInstance().logOut();
  // The app goes on showing the language it showed (its downloaded text, as lookups hide
  // unsent edits while nobody may edit), and the menu says so.
  controller.setLocaleStrings(shown);
  if (const auto host = kv_toolHost()) host->stringsDidChange();
}

void KVKeptChanges::reviewerDidSignIn() {
  const auto host = kv_toolHost();
  if (host) host->setupEditionGesture();
  const nlohmann::json record = keptRecord();
  const auto owner = textOf(record, "reviewer");
  if (!owner || owner != KVSession::sharedInstance().userId()) return;
  if (const auto archived = textOf(record, "workflowStep")) {
    if (auto step = KVWorkflowStep::unarchive(*archived)) {
      kvDebug("Back to workflow step " + step->name + " with the changes kept on this device");
      KVMainController::sharedInstance().setWorkflowStep(std::move(step));
      saveDefault("KVWorkflowStep", *archived);
    }
  }
  forget();
  // The kept edits show again.
  if (host) host->stringsDidChange();
}

void KVKeptChanges::forget() {
  Platform::current().userDefaults().removeObjectForKey(kKeptDefaultsKey);
  synchronizeDefaults();
}

}  // namespace kolvane
