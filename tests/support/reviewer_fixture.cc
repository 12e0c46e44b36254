#include "support/reviewer_fixture.h"

#include <fstream>
#include <memory>

#include "platform/linux/curl_transport.h"
#include "server/keychain.h"
#include "server/login_form.h"
#include "server/server_reviewer_services.h"
#include "server/server_url.h"
#include "server/session.h"

namespace kolvane::testing {

void ReviewerTest::SetUp() {
  CoreTest::SetUp();
  installServerReviewerServices();
  KVSession::sharedInstance().resetForTesting();
  KVKeychain::resetForTesting();
  KVLoginViewController::setLoginForm(nullptr);
}

void ReviewerTest::TearDown() {
  KVSession::sharedInstance().resetForTesting();
  CoreTest::TearDown();
}

void ReviewerTest::enableEditing() {
  KVSession::sharedInstance().setToken({{"access_token", "test-token"}});
  chooseTranslatingStep();
}

void ReviewerTest::useDeployment(const nlohmann::json& values) {
  const std::string path = folder() + "/Kolvane.json";
  std::ofstream(path) << values;
  platform().bundle.resources["Kolvane.json"] = path;
  KVServerUrl::setEnvironment(KVEnvironmentStaging);
}

void ReviewerTest::useServerAt(const std::string& baseUrl) {
  useDeployment({{"stagingApiUrl", baseUrl},
                 {"stagingSignOnUrl", baseUrl},
                 {"redirectScheme", "kolvane-test"}});
  platform().network = std::make_unique<CurlTransport>(platform().queue);
}

void ReviewerTest::logIn(const std::string& accessToken) {
  KVSession::sharedInstance().setToken({{"access_token", accessToken},
                                        {"refresh_token", "refresh"},
                                        {"expires", platform().now() + 3600},
                                        {"refresh_expires", platform().now() + 7200}});
}

std::string tokenAnswerFor(const std::string& reviewer) {
  return nlohmann::json{{"access_token", "a.e30.b"},
                        {"uid", reviewer},
                        {"expires_in", 300},
                        {"refresh_expires_in", 600}}
      .dump();
}

}  // namespace kolvane::testing
