// Stores of a development locale (en) and a shown locale (fr_FR) built from short texts, for
// the capture tests.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "strings/cues.h"
#include "strings/string_group.h"
#include "support/reviewer_fixture.h"

namespace kolvane::testing {

// Brackets and braces as cues, the way the tool shows them: [ ] strings, { } placeholders.
inline std::u16string cued(std::u16string shown) {
  for (char16_t& c : shown) {
    if (c == u'[') c = kv_beginCue;
    if (c == u']') c = kv_endCue;
    if (c == u'{') c = kv_placeholderBeginCue;
    if (c == u'}') c = kv_placeholderEndCue;
  }
  return shown;
}

inline std::u16string shown(const std::u16string& text) { return kv_stringShowingCues(text); }

// Key to text; a key of the form "key[category]" is one plural form.
using Texts = std::vector<std::pair<std::string, std::u16string>>;

inline KVStringGroups groupsOf(const Texts& texts) {
  KVStringGroups groups;
  for (const auto& [name, text] : texts) {
    auto form = std::make_shared<KVString>();
    const std::size_t bracket = name.find('[');
    form->key = name.substr(0, bracket);
    form->uid = name;
    if (bracket != std::string::npos) {
      form->pluralForm = name.substr(bracket + 1, name.size() - bracket - 2);
    }
    form->extractFormatFromString(kv_stringWithCues(text));
    auto& group = groups[form->key];
    if (!group) group = std::make_shared<KVStringGroup>();
    group->addStringForm(form);
  }
  return groups;
}

class CaptureTest : public ReviewerTest {
 protected:
  void SetUp() override {
    ReviewerTest::SetUp();
    base_ = KVLocaleStrings::localeStringsForLocale(Locale("en"));
    controller().setBaseLocaleStrings(base_);
    setBase({{"sent", u"Sent %@ today"}, {"file", u"a file"}, {"hi", u"Hi"}});
  }
  KVMainController& controller() { return KVMainController::sharedInstance(); }
  void setBase(const Texts& texts) { base_->setLoadedStrings(groupsOf(texts)); }
  // Shows the French store, holding `texts`.
  void showFrench(const Texts& texts) {
    french_ = KVLocaleStrings::localeStringsForLocale(Locale("fr_FR"));
    french_->setLoadedStrings(groupsOf(texts));
    controller().setLocaleStrings(french_);
  }

  std::shared_ptr<KVLocaleStrings> base_;
  std::shared_ptr<KVLocaleStrings> french_;
};

}  // namespace kolvane::testing
