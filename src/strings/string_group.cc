#include "strings/string_group.h"

#include <array>

namespace kolvane {
namespace {

constexpr std::array<std::string_view, 6> kCategoryOrder = {"zero", "one",  "two",
                                                            "few",  "many", "other"};

}  // namespace

std::string_view statusName(unsigned status) {
  switch (status) {
    case KVStringStatusNone:
      return "";
    case KVStringStatusPublished:
      return "PUBLISHED";
    case KVStringStatusAccepted:
      return "ACCEPTED";
    case KVStringStatusRejected:
      return "REJECTED";
    case KVStringStatusUntranslated:
      return "UNTRANSLATED";
    default:
      return "UNKNOWN";
  }
}

void KVStringGroup::addStringForm(const std::shared_ptr<KVString>& form) {
  if (!form) return;
  if (key.empty()) key = form->key;
  hasPlurals = form->pluralForm.has_value();
  pluralForms[hasPlurals ? *form->pluralForm : std::string(kNoPluralFormName)] = form;
  form->group = weak_from_this();
}

const std::shared_ptr<KVString>* KVStringGroup::findForm(std::string_view name, bool strict) const {
  if (auto found = pluralForms.find(name); found != pluralForms.end()) return &found->second;
  if (strict) return nullptr;
  if (auto other = pluralForms.find("other"); other != pluralForms.end()) return &other->second;
  if (!pluralForms.empty()) return &pluralForms.begin()->second;
  return nullptr;
}

std::string_view KVStringGroup::defaultFormName() const {
  return hasPlurals ? std::string_view("other") : kNoPluralFormName;
}

std::shared_ptr<KVString> KVStringGroup::stringForPluralForm(const std::optional<std::string>& name,
                                                             bool strict) const {
  const auto* form = findForm(name ? std::string_view(*name) : defaultFormName(), strict);
  return form ? *form : nullptr;
}

const KVString* KVStringGroup::formForPluralForm(std::string_view name, bool strict) const {
  const auto* form = findForm(name, strict);
  return form ? form->get() : nullptr;
}

const KVString* KVStringGroup::defaultForm() const {
  return formForPluralForm(defaultFormName(), false);
}

std::optional<std::string> KVStringGroup::uid() const {
  const auto form = stringForPluralForm(std::nullopt, false);
  if (!form || form->uid.empty()) return std::nullopt;
  return form->uid.substr(0, form->uid.find('['));
}

std::vector<std::string> KVStringGroup::sortedPluralFormNames() const {
  std::vector<std::string> names;
  for (std::string_view category : kCategoryOrder) {
    if (pluralForms.count(std::string(category))) names.emplace_back(category);
  }
  return names;
}

std::shared_ptr<KVStringGroup> KVStringGroup::copy() const {
  auto copied = std::make_shared<KVStringGroup>();
  copied->key = key;
  copied->hasPlurals = hasPlurals;
  copied->rejectReason = rejectReason;
  copied->rejectDescription = rejectDescription;
  copied->status = status;
  for (const auto& [name, form] : pluralForms) copied->pluralForms[name] = form->copy();
  return copied;
}

std::string KVStringGroup::description() const {
  std::string forms;
  for (const auto& [name, form] : pluralForms)
    forms += " " + name + " = " + form->description() + ";";
  return "<KVStringGroup " + key + " {" + forms + " }>";
}

}  // namespace kolvane
