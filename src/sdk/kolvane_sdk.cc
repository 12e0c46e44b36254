#include <string_view>

#include "core/main_controller.h"
#include "core/version.h"
#include "kolvane/kolvane.h"
#include "server/server_reviewer_services.h"

namespace kolvane {

const double KolvaneSDKVersionNumber = kKolvaneVersionNumber;
const unsigned char KolvaneSDKVersionString[] = "Kolvane 0.1.0";
static_assert(std::string_view(kKolvaneVersion) == "0.1.0", "keep the version string in step");

void KolvaneSDK::startWithProjectId(const std::optional<std::string>& projectId,
                                    const nlohmann::json& options) {
  installServerReviewerServices();
  KVMainController::sharedInstance().startWithProjectId(projectId, options);
}

std::optional<Locale> KolvaneSDK::locale() { return KVMainController::sharedInstance().locale(); }

std::u16string KolvaneSDK::pluralizedStringWithKey(std::string_view key,
                                                   const std::optional<Number>& value) {
  return KVMainController::sharedInstance().pluralizedStringWithKey(key, value);
}

}  // namespace kolvane
