// A store of the shown locale (French) read from files in the Kolvane folder, on top of the
// test fixture `Base`.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "platform/linux/posix_file_system.h"
#include "strings/cues.h"

namespace kolvane {

inline std::string xliff(const std::vector<std::pair<std::string, std::string>>& units) {
  std::string body;
  for (const auto& [id, target] : units) {
    const std::string key = id.substr(0, id.find('['));
    body += "<trans-unit id=\"" + id + "\" resname=\"" + key + "\"><target>" + target +
            "</target></trans-unit>";
  }
  return "<xliff><file><body>" + body + "</body></file></xliff>";
}

template <class Base>
class LocaleStringsFixture : public Base {
 protected:
  void SetUp() override {
    Base::SetUp();
    this->platform().defaults.setObject("KVLocale", "fr_FR");
  }
  KVMainController& controller() { return KVMainController::sharedInstance(); }
  std::string filesFolder() { return KVMainController::kolvaneFilesFolder(); }
  void writeFile(const std::string& name, const std::string& bytes) {
    ASSERT_TRUE(writeFileAtomically(filesFolder() + "/" + name, bytes));
  }
  void start() { controller().startWithProjectId("demo", nullptr); }
  std::shared_ptr<KVLocaleStrings> shown() { return controller().localeStrings(); }
  std::u16string text(std::string_view key) {
    return kv_stringShowingCues(shown()->localizedStringForKey(key).value_or(u"(none)"));
  }
};

}  // namespace kolvane
