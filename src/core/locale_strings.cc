#include "core/locale_strings.h"

#include <algorithm>
#include <climits>

#include "base/log.h"
#include "base/plain_name.h"
#include "base/saturating.h"
#include "base/utf.h"
#include "core/main_controller.h"
#include "core/persistence.h"
#include "kolvane/bundle.h"
#include "kolvane/platform.h"
#include "strings/cues.h"
#include "strings/xliff_parser.h"
#include "strings/xliff_writer.h"

namespace kolvane {
namespace {

constexpr std::string_view kStatusesDefaultsKey = "KVStatuses";
constexpr std::string_view kRejectReasonsDefaultsKey = "KVRejectReasons";

std::u16string withoutLineBreaks(std::u16string_view text) {
  std::u16string out(text);
  std::erase(out, u'\n');
  return out;
}

}  // namespace

KVLocaleStrings::Snapshot::Snapshot(KVStringGroups strings)
    : Snapshot(nullptr, std::move(strings)) {}

KVLocaleStrings::Snapshot::Snapshot(std::shared_ptr<const KVStringTable> strings,
                                    KVStringGroups over)
    : table(std::move(strings)), overlay(std::move(over)) {
  byKey.reserve(overlay.size());
  for (const auto& [key, group] : overlay) {
    if (group) byKey.emplace(key, Entry{&group, group->defaultForm()});
  }
}

std::optional<std::u16string_view> KVLocaleStrings::Snapshot::textForKey(std::string_view key,
                                                                         std::string_view plural,
                                                                         bool named) const {
  if (!byKey.empty()) {
    if (const auto found = byKey.find(key); found != byKey.end()) {
      const KVString* form = named ? (*found->second.group)->formForPluralForm(plural, false)
                                   : found->second.defaultForm;
      if (form == nullptr) return std::nullopt;
      return form->localizedFormat;
    }
  }
  if (!table) return std::nullopt;
  const std::uint32_t group = table->find(key);
  if (group == KVStringTable::npos) return std::nullopt;
  return named ? table->textForCategory(group, plural) : table->defaultText(group);
}

std::shared_ptr<KVStringGroup> KVLocaleStrings::Snapshot::tableGroup(std::uint32_t index) const {
  std::lock_guard lock(madeMutex_);
  if (made_.empty()) made_.resize(table->groupCount());
  auto& made = made_[index];
  if (!made) made = table->makeGroup(index);
  return made;
}

std::shared_ptr<KVStringGroup> KVLocaleStrings::Snapshot::groupForKey(std::string_view key) const {
  if (const auto found = byKey.find(key); found != byKey.end()) return *found->second.group;
  if (!table) return nullptr;
  const std::uint32_t group = table->find(key);
  return group == KVStringTable::npos ? nullptr : tableGroup(group);
}

const KVStringGroups& KVLocaleStrings::Snapshot::groups() const {
  if (!table) return overlay;
  std::call_once(allGroupsMade_, [this] {
    allGroups_.reserve(table->groupCount() + overlay.size());
    for (std::uint32_t g = 0; g < table->groupCount(); ++g) {
      allGroups_.emplace(table->keyAt(g), tableGroup(g));
    }
    for (const auto& [key, group] : overlay) allGroups_[key] = group;
  });
  return allGroups_;
}

void KVLocaleStrings::Snapshot::buildHashIndex() const {
  for (const auto& [key, group] : overlay) {
    if (!group) continue;
    for (const auto& [name, form] : group->pluralForms) {
      overlayByHash_.try_emplace(form->localizedHash, form);
    }
  }
  if (!table) return;
  // The matching keys are made once, into one block, and the index views them.
  std::vector<std::pair<std::size_t, TableForm>> ends;
  for (std::uint32_t f = 0; f < table->formCount(); ++f) {
    const std::uint32_t group = table->groupOfForm(f);
    // A form under a group the overlay replaces is not what its key answers.
    if (!overlay.empty() && overlay.count(table->keyAt(group))) continue;
    tableMatchingKeys_ += kv_matchingKey(table->formatOfForm(f), table->formIsDynamic(f));
    ends.emplace_back(tableMatchingKeys_.size(), TableForm{group, f});
  }
  tableMatchingKeys_.shrink_to_fit();
  tableByHash_.reserve(ends.size());
  std::size_t start = 0;
  for (const auto& [end, form] : ends) {
    // The first form in table order wins, as the index of objects keeps the first it meets.
    tableByHash_.try_emplace(std::u16string_view(tableMatchingKeys_).substr(start, end - start),
                             form);
    start = end;
  }
}

std::shared_ptr<const KVString> KVLocaleStrings::Snapshot::stringForHash(
    std::u16string_view hash) const {
  std::call_once(hashIndexBuilt_, [this] { buildHashIndex(); });
  if (const auto found = overlayByHash_.find(hash); found != overlayByHash_.end()) {
    return found->second;
  }
  const auto found = tableByHash_.find(hash);
  if (found == tableByHash_.end()) return nullptr;
  const auto group = tableGroup(found->second.group);
  const auto form = group->pluralForms.find(table->categoryOfForm(found->second.form));
  return form != group->pluralForms.end() ? form->second : nullptr;
}

KVLocaleStrings::KVLocaleStrings(Locale locale)
    : locale_(std::move(locale)), dirty_(std::make_shared<const Snapshot>(KVStringGroups())) {}

std::shared_ptr<KVLocaleStrings> KVLocaleStrings::localeStringsForLocale(const Locale& locale) {
  return std::make_shared<KVLocaleStrings>(locale);
}

namespace {

// The file's bytes, or none (logged) when there is no file or it cannot be read.
std::optional<std::string> xliffBytes(const std::string& path) {
  FileSystem& files = Platform::current().fileSystem();
  if (!files.fileExists(path)) return std::nullopt;
  kvDebug("Loading strings from " + path);
  auto bytes = files.readFile(path);
  if (!bytes) kvDebug("Error loading strings from " + path + ": the file could not be read");
  return bytes;
}

void logReadError(const std::string& path, const KVError& error) {
  kvDebug("Error loading strings from " + path + ": " + error.localizedDescription);
}

}  // namespace

std::shared_ptr<const KVStringTable> KVLocaleStrings::tableFromXliff(
    const std::string& path, std::string_view bytes, unsigned status,
    const KVStringTable::SourceStamp& stamp) {
  kvDebug("Loading strings from " + path);
  KVStringTableBuilder builder;
  std::optional<KVError> error;
  KVXliffParser::parseXliffDataInto(builder, bytes, status, &error);
  if (error) {
    logReadError(path, *error);
    return nullptr;
  }
  return builder.finish(stamp);
}

bool KVLocaleStrings::loadStringsFromPath(const std::string& path, KVStringGroups* into,
                                          KVStringGroups* source, unsigned status) {
  const auto bytes = xliffBytes(path);
  if (!bytes) return false;
  KVStringGroups sources;
  std::optional<KVError> error;
  KVStringGroups groups =
      KVXliffParser::parseXliffData(*bytes, source ? &sources : nullptr, status, &error);
  if (error) {
    logReadError(path, *error);
    return false;
  }
  if (into && into->empty()) {
    *into = std::move(groups);
  } else if (into) {
    for (auto& [key, group] : groups) (*into)[key] = std::move(group);
  }
  if (source) {
    for (auto& [key, group] : sources) (*source)[key] = std::move(group);
  }
  return true;
}

bool KVLocaleStrings::loadStringsFromLocalizableStringsAtPath(const std::string& path,
                                                              KVStringGroups& into, bool forTable) {
  FileSystem& files = Platform::current().fileSystem();
  if (!files.fileExists(path)) {
    kvDebug("No packaged strings file at " + path);
    return false;
  }
  kvDebug("Loading strings from " + path);
  StringsFileResult read = files.readStringsFile(path);
  if (const auto* error = std::get_if<StringsFileError>(&read)) {
    kvDebug("Error loading strings from " + path + ": " + error->message);
    return false;
  }
  for (const auto& [key, text] : std::get<StringsTable>(read)) {
    auto string = std::make_shared<KVString>();
    string->key = key;
    string->extractFormatFromString(kv_stringWithCues(text), !forTable);
    auto group = std::make_shared<KVStringGroup>();
    group->status = KVStringStatusUntranslated;
    group->addStringForm(string);
    into[key] = std::move(group);
  }
  return true;
}

std::string KVLocaleStrings::fileNamed(std::string_view suffix) const {
  // No path at all for an identifier that could leave the files folder: reads find nothing
  // there and writes fail.
  if (!isPlainName(locale_.localeIdentifier())) return {};
  return KVMainController::kolvaneFilesFolder() + "/" + locale_.localeIdentifier() +
         std::string(suffix);
}

std::string KVLocaleStrings::publishedFilePath() const { return fileNamed("_published.xlf"); }
std::string KVLocaleStrings::pendingFilePath() const { return fileNamed("_pending.xlf"); }
std::string KVLocaleStrings::dirtyFilePath() const { return fileNamed("_edited.xlf"); }

std::optional<std::string> KVLocaleStrings::packagedFilePath() const {
  if (!isPlainName(locale_.localeIdentifier())) return std::nullopt;
  return Platform::current().mainBundle().pathForResource(locale_.localeIdentifier(), "xlf");
}

std::shared_ptr<const KVStringGroups> KVLocaleStrings::loadedStrings() const {
  const auto& snapshot = loaded_.owner();
  if (!snapshot) return nullptr;
  return std::shared_ptr<const KVStringGroups>(snapshot, &snapshot->groups());
}

void KVLocaleStrings::setLoadedStrings(KVStringGroups groups) {
  auto table = KVStringTable::fromGroups(groups);
  if (table) groups.clear();
  setLoadedTable(std::move(table), std::move(groups));
}

void KVLocaleStrings::setLoadedTable(std::shared_ptr<const KVStringTable> table,
                                     KVStringGroups overlay) {
  loaded_.set(std::make_shared<const Snapshot>(std::move(table), std::move(overlay)));
}

const KVStringGroups& KVLocaleStrings::dirtyStrings() const { return dirty_.owner()->overlay; }

void KVLocaleStrings::setDirtyStrings(KVStringGroups groups) {
  dirty_.set(std::make_shared<const Snapshot>(std::move(groups)));
}

void KVLocaleStrings::setDirtyGroup(const std::string& key, std::shared_ptr<KVStringGroup> group) {
  KVStringGroups groups = dirtyStrings();
  if (group) {
    groups[key] = std::move(group);
  } else {
    groups.erase(key);
  }
  setDirtyStrings(std::move(groups));
}

const KVLocaleStrings::Snapshot* KVLocaleStrings::snapshotForKey(std::string_view key) const {
  // Unsent edits show only while the reviewer may edit: after logout the last downloaded
  // text is shown again.
  const Snapshot* edited = dirty_.get();
  if (edited != nullptr && !edited->byKey.empty() && edited->byKey.count(key) &&
      KVMainController::sharedInstance().editionEnabled()) {
    return edited;
  }
  return loaded_.get();
}

std::shared_ptr<const KVStringGroup> KVLocaleStrings::kolvaneStringGroupForKey(
    std::string_view key) const {
  LookupGuard guard;
  const Snapshot* snapshot = snapshotForKey(key);
  return snapshot ? snapshot->groupForKey(key) : nullptr;
}

std::shared_ptr<const KVString> KVLocaleStrings::kolvaneStringForKey(
    std::string_view key, const std::optional<std::string>& plural) const {
  const auto group = kolvaneStringGroupForKey(key);
  return group ? group->stringForPluralForm(plural, false) : nullptr;
}

std::optional<std::u16string_view> KVLocaleStrings::localizedTextForKey(
    std::string_view key, const std::optional<std::string>& plural) const {
  const Snapshot* snapshot = snapshotForKey(key);
  if (snapshot == nullptr) return std::nullopt;
  return snapshot->textForKey(key, plural.value_or(""), plural.has_value());
}

std::optional<std::u16string> KVLocaleStrings::localizedStringForKey(std::string_view key) const {
  return localizedStringForKey(key, std::nullopt);
}

std::optional<std::u16string> KVLocaleStrings::localizedStringForKey(
    std::string_view key, const std::optional<std::string>& plural) const {
  LookupGuard guard;
  if (const auto text = localizedTextForKey(key, plural)) return std::u16string(*text);
  return std::nullopt;
}

std::shared_ptr<KVString> KVLocaleStrings::findLocalizedString(std::u16string_view hash,
                                                               const KVStringGroups& groups) {
  for (const auto& [key, group] : groups) {
    if (!group) continue;
    for (const auto& [name, form] : group->pluralForms) {
      if (form->localizedHash == hash) return form;
    }
  }
  return nullptr;
}

std::shared_ptr<const KVString> KVLocaleStrings::kolvaneStringForLocalizedString(
    std::u16string_view hash) const {
  LookupGuard guard;
  for (const Snapshot* snapshot : {dirty_.get(), loaded_.get()}) {
    if (snapshot == nullptr) continue;
    if (auto found = snapshot->stringForHash(hash)) return found;
  }
  return nullptr;
}

void KVLocaleStrings::extractUIStrings() {
  const auto loaded = loadedStrings();
  if (!loaded) return;
  std::map<std::u16string, std::string> index;
  for (const auto& [key, group] : *loaded) {
    if (!group || group->hasPlurals) continue;
    if (key.find('.') == std::string::npos || key.find('-') == std::string::npos) continue;
    if (const KVString* form = group->defaultForm()) {
      index[withoutLineBreaks(form->localizedFormat)] = key;
    }
  }
  nibStrings_ = std::move(index);
}

std::optional<std::string> KVLocaleStrings::keyForIBString(std::u16string_view text) const {
  for (const std::u16string& candidate : {withoutLineBreaks(text), std::u16string(text)}) {
    if (const auto found = nibStrings_.find(candidate); found != nibStrings_.end()) {
      return found->second;
    }
  }
  return std::nullopt;
}

namespace {

std::function<void(const KVError&)>& saveFailureHandler() {
  static std::function<void(const KVError&)> handler;
  return handler;
}

std::string saveFailureText(FileWriteFailure failure) {
  switch (failure) {
    case FileWriteFailure::diskFull:
      return "Your change could not be saved on this device: the disk is full.";
    case FileWriteFailure::notWritable:
      return "Your change could not be saved on this device: its folder cannot be written to.";
    case FileWriteFailure::unknown:
      break;
  }
  return "Your change could not be saved on this device.";
}

// The reasons of rejections, kept beside the statuses so that a rejection sent after a
// restart still says why.
nlohmann::json rejectReasons(const KVStringGroups& rejected) {
  nlohmann::json reasons = nlohmann::json::object();
  for (const auto& [key, group] : rejected) {
    if (group && (!group->rejectReason.empty() || !group->rejectDescription.empty())) {
      reasons[key] = {{"reason", toUtf8(group->rejectReason)},
                      {"description", toUtf8(group->rejectDescription)}};
    }
  }
  return reasons;
}

}  // namespace

void KVLocaleStrings::setSaveFailureHandler(std::function<void(const KVError&)> handler) {
  saveFailureHandler() = std::move(handler);
}

std::optional<KVError> KVLocaleStrings::saveDirty() {
  KVWriteFailures failures;
  const auto error = KVXliffWriter::writeXliffFromStrings(
      dirtyStrings(), KVMainController::sharedInstance().xliffContext(), dirtyFilePath(),
      &failures);
  const FileWriteFailure writeFailure =
      error ? Platform::current().fileSystem().lastWriteFailure() : FileWriteFailure::unknown;
  if (logEnabled() && error) kvLog("Error saving dirty strings: " + error->localizedDescription);
  if (logEnabled() && !failures.empty()) {
    std::string keys;
    for (const auto& [key, failed] : failures) keys += (keys.empty() ? "" : ", ") + key;
    kvLog("Failed to save some strings: " + keys);
  }
  nlohmann::json statuses = nlohmann::json::object();
  for (const KVStringGroups* decided : {&acceptedStrings_, &rejectedStrings_}) {
    for (const auto& [key, group] : *decided) {
      if (group) statuses[key] = group->status;
    }
  }
  UserDefaults& defaults = Platform::current().userDefaults();
  defaults.setObject(kStatusesDefaultsKey, std::move(statuses));
  defaults.setObject(kRejectReasonsDefaultsKey, rejectReasons(rejectedStrings_));
  const bool statusesKept = defaults.synchronize();
  if (!statusesKept) kvLogIfEnabled("Could not save the user defaults; the previous ones are kept");
  changesKeptOnDevice_ = !error && statusesKept;
  if (changesKeptOnDevice_) return std::nullopt;
  KVError failed{kKVErrorDomainFile, kKVErrorCodeFileWriteUnknown, saveFailureText(writeFailure)};
  if (saveFailureHandler()) saveFailureHandler()(failed);
  return failed;
}

void KVLocaleStrings::clearDirtyStrings() {
  setDirtyStrings({});
  removeFileIfPresent(dirtyFilePath());
}

void KVLocaleStrings::clearDirtyStatuses() {
  UserDefaults& defaults = Platform::current().userDefaults();
  defaults.removeObjectForKey(kStatusesDefaultsKey);
  defaults.removeObjectForKey(kRejectReasonsDefaultsKey);
  synchronizeDefaults();
  acceptedStrings_.clear();
  rejectedStrings_.clear();
}

void KVLocaleStrings::loadDirtyStatuses() {
  const auto saved = Platform::current().userDefaults().objectForKey(kStatusesDefaultsKey);
  if (debugEnabled()) {
    kvLog(
        "Loading saved statuses: " +
        (saved ? saved->dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) : "(null)"));
  }
  if (!saved || !saved->is_object()) return;
  std::map<std::string, unsigned> statuses;
  for (const auto& [key, value] : saved->items()) {
    if (!value.is_number_integer()) continue;
    const auto status = saturatingInteger(value);
    if (!status || *status < 0) continue;
    statuses[key] = static_cast<unsigned>(std::min<long long>(*status, UINT_MAX));
  }
  applyReviewStatuses(statuses);
  restoreRejectReasons();
}

void KVLocaleStrings::restoreRejectReasons() {
  const auto saved = Platform::current().userDefaults().objectForKey(kRejectReasonsDefaultsKey);
  if (!saved || !saved->is_object()) return;
  for (auto& [key, group] : rejectedStrings_) {
    const auto found = saved->find(key);
    if (!group || found == saved->end() || !found->is_object()) continue;
    const auto text = [&found](const char* name) {
      const auto value = found->find(name);
      return value != found->end() && value->is_string() ? toUtf16(value->get<std::string>())
                                                         : std::u16string();
    };
    // The published group stays as lookups see it; the decision holds a copy with its reason.
    auto decided = group->copy();
    for (const auto& [name, form] : decided->pluralForms) form->group = decided;
    decided->rejectReason = text("reason");
    decided->rejectDescription = text("description");
    group = std::move(decided);
  }
}

std::shared_ptr<const KVStringGroup> KVLocaleStrings::setReviewStatus(
    const std::string& key, unsigned status, const KVStringGroup* decided) {
  applyReviewStatuses({{key, status}});
  if (status != KVStringStatusAccepted && status != KVStringStatusRejected) {
    acceptedStrings_.erase(key);
    rejectedStrings_.erase(key);
  }
  {
    LookupGuard guard;
    for (const Snapshot* snapshot : {dirty_.get(), loaded_.get()}) {
      if (snapshot == nullptr) continue;
      if (auto found = snapshot->groupForKey(key)) return found;
    }
  }
  // A string this store does not hold (one only the base has) is decided all the same: a copy
  // carries the decision into its map, so that it is sent with the others.
  if (decided == nullptr || decided->key != key) return nullptr;
  auto copy = decided->copy();
  for (const auto& [name, form] : copy->pluralForms) form->group = copy;
  copy->status = status;
  recordDecision(copy);
  return copy;
}

void KVLocaleStrings::recordDecision(const std::shared_ptr<KVStringGroup>& group) {
  if (group->status == KVStringStatusAccepted) {
    rejectedStrings_.erase(group->key);
    acceptedStrings_[group->key] = group;
  }
  if (group->status == KVStringStatusRejected) {
    acceptedStrings_.erase(group->key);
    rejectedStrings_[group->key] = group;
  }
}

void KVLocaleStrings::applyReviewStatuses(const std::map<std::string, unsigned>& statuses) {
  // Each snapshot is copied only when one of its groups changes; the edited group, when there
  // is one, is the one the review decision holds.
  const auto restamp = [&statuses](const Snapshot* snapshot,
                                   std::map<std::string, std::shared_ptr<KVStringGroup>>& decided) {
    if (snapshot == nullptr) return std::shared_ptr<const Snapshot>();
    std::optional<KVStringGroups> changed;
    for (const auto& [key, status] : statuses) {
      const auto found = snapshot->groupForKey(key);
      if (!found) continue;
      if (!changed) changed = snapshot->overlay;
      auto copy = found->copy();
      for (const auto& [name, form] : copy->pluralForms) form->group = copy;
      copy->status = status;
      (*changed)[key] = copy;
      decided[key] = std::move(copy);
    }
    if (!changed) return std::shared_ptr<const Snapshot>();
    return std::make_shared<const Snapshot>(snapshot->table, std::move(*changed));
  };
  std::map<std::string, std::shared_ptr<KVStringGroup>> decided;
  if (auto loaded = restamp(loaded_.owner().get(), decided)) loaded_.set(std::move(loaded));
  if (auto dirty = restamp(dirty_.owner().get(), decided)) dirty_.set(std::move(dirty));
  for (const auto& [key, group] : decided) recordDecision(group);
}

}  // namespace kolvane
