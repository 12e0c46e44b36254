#include "core/app_catalogue.h"

#include <mutex>

#include "base/utf.h"
#include "kolvane/platform.h"
#include "strings/cues.h"

namespace kolvane {
namespace {

std::shared_ptr<KVString> formOf(std::string_view key, std::u16string_view text,
                                 const std::optional<std::string>& pluralForm) {
  auto form = std::make_shared<KVString>();
  form->key = std::string(key);
  form->uid = form->key;
  if (pluralForm) form->uid += "[" + *pluralForm + "]";
  form->pluralForm = pluralForm;
  form->extractFormatFromString(kv_stringWithCues(text));
  return form;
}

// `group` with `form` added, the group handed out before left as it was.
std::shared_ptr<const KVStringGroup> withForm(const std::shared_ptr<const KVStringGroup>& group,
                                              const std::shared_ptr<KVString>& form) {
  auto grown = std::make_shared<KVStringGroup>();
  if (group) {
    for (const auto& [name, kept] : group->pluralForms) grown->addStringForm(kept->copy());
  }
  grown->addStringForm(form);
  return grown;
}

}  // namespace

bool KVAppCatalogue::alreadyNoted(std::string_view key, std::u16string_view text,
                                  const std::optional<std::string>& pluralForm) const {
  const auto found = messages_.find(key);
  if (found == messages_.end()) return false;
  const KVStringGroup& answers = *found->second.answers;
  const KVString* form = answers.formForPluralForm(
      pluralForm ? std::string_view(*pluralForm) : kNoPluralFormName, true);
  // Both are the answer as marked once: equal texts are the same answer.
  return form != nullptr && form->localizedFormat == text;
}

void KVAppCatalogue::note(std::string_view key, std::string_view source, std::u16string_view text,
                          const std::optional<std::string>& pluralForm) {
  {
    std::shared_lock lock(mutex_);
    if (alreadyNoted(key, text, pluralForm)) return;
  }
  // Built outside the lock: the matching key takes the platform's text services.
  const auto form = formOf(key, text, pluralForm);
  std::unique_lock lock(mutex_);
  auto found = messages_.find(key);
  if (found == messages_.end()) {
    if (messages_.size() >= kMaxMessages) return;
    found = messages_.emplace(std::string(key), Message{}).first;
  }
  // The source text stands in every category, so that each form is checked against it.
  found->second.source = withForm(found->second.source, formOf(key, toUtf16(source), pluralForm));
  found->second.answers = withForm(found->second.answers, form);
  // The records found by their text belong to the group handed out from now on. An answer
  // this one replaced (the same key answered another way in another context, or before a
  // language change) stays traceable with the group it came in.
  for (const auto& [name, kept] : found->second.answers->pluralForms) {
    if (byHash_.size() >= kMaxAnswers && !byHash_.contains(kept->localizedHash)) continue;
    byHash_[kept->localizedHash] = {kept, found->second.answers};
  }
}

std::shared_ptr<const KVString> KVAppCatalogue::stringForHash(std::u16string_view hash) const {
  std::shared_lock lock(mutex_);
  const auto found = byHash_.find(hash);
  if (found == byHash_.end()) return nullptr;
  // The record keeps its group alive for as long as it is held: a later answer may replace
  // the group here at any moment, and a record without its group edits nothing.
  return std::shared_ptr<const KVString>(found->second.group, found->second.form.get());
}

std::shared_ptr<const KVStringGroup> KVAppCatalogue::groupForKey(std::string_view key) const {
  std::shared_lock lock(mutex_);
  const auto found = messages_.find(key);
  return found == messages_.end() ? nullptr : found->second.answers;
}

std::shared_ptr<const KVStringGroup> KVAppCatalogue::sourceGroupForKey(std::string_view key) const {
  std::shared_lock lock(mutex_);
  const auto found = messages_.find(key);
  return found == messages_.end() ? nullptr : found->second.source;
}

void KVAppCatalogue::clear() {
  std::unique_lock lock(mutex_);
  messages_.clear();
  byHash_.clear();
}

}  // namespace kolvane
