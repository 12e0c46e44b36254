// Kolvane: localised strings served from on-device translation files, each wrapped in
// invisible cue characters so that a reviewer can trace any text on screen back to its strings.
//
// Start it once, on the main thread, early at launch:
//
//   kolvane::KolvaneSDK::startWithProjectId("my-project", {{"logging", 1}});
//
// From then on every lookup the app makes through its bundle
// (Bundle::localizedStringForKey) is served by Kolvane.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "kolvane/bundle.h"
#include "kolvane/export.h"
#include "kolvane/locale.h"
#include "kolvane/lookup.h"
#include "kolvane/number.h"

namespace kolvane {

class KOLVANE_EXPORT KolvaneSDK {
 public:
  // Starts Kolvane for the project. Options (all optional): "logging" 1 writes the runtime's
  // log lines, 2 adds the detailed ones; "environment" "stage" selects the staging servers,
  // anything else production. Without a project id nothing starts and the app keeps its own
  // strings. Main thread only.
  static void startWithProjectId(const std::optional<std::string>& projectId,
                                 const nlohmann::json& options = nullptr);
  // The locale being shown, or none when the app shows its own strings.
  static std::optional<Locale> locale();
  // The format string of the plural form of `key` that fits `value`, in the shown locale,
  // else the base locale, else the app's own table.
  // Example: pluralizedStringWithKey("files.count", 3) may give u"\u200B{%d} files\u2062"
  static std::u16string pluralizedStringWithKey(std::string_view key,
                                                const std::optional<Number>& value);
};

// The build version of the library; nothing reads them at run time.
KOLVANE_EXPORT extern const double KolvaneSDKVersionNumber;
KOLVANE_EXPORT extern const unsigned char KolvaneSDKVersionString[];

}  // namespace kolvane
