#include "server/server_url.h"

#include <gtest/gtest.h>

#include "kolvane/lookup.h"
#include "platform/linux/posix_file_system.h"
#include "server/deployment.h"
#include "support/reviewer_fixture.h"

namespace kolvane {
namespace {

class ServerUrlTest : public testing::ReviewerTest {
 protected:
  void TearDown() override {
    kolvaneEnvironment = KVEnvironmentStaging;
    testing::ReviewerTest::TearDown();
  }
  void shipDeploymentFile(const std::string& json) {
    const std::string path = folder() + "/Kolvane.json";
    ASSERT_TRUE(writeFileAtomically(path, json));
    platform().bundle.resources["Kolvane.json"] = path;
  }
};

TEST_F(ServerUrlTest, EachEnvironmentHasItsHostsAndNoneHasNoHost) {
  const KVDeployment defaults = KVDeployment::defaults();
  KVServerUrl::setEnvironment(KVEnvironmentStaging);
  EXPECT_EQ(KVServerUrl::baseUrlForServer(KVServerApi), defaults.stagingApiUrl);
  EXPECT_EQ(KVServerUrl::baseUrlForServer(KVServerSso), defaults.stagingSignOnUrl);
  EXPECT_EQ(KVServerUrl::baseUrlForServer(KVServerNone), "");
  EXPECT_EQ(KVServerUrl::baseUrlForServer(7), std::nullopt);
  KVServerUrl::setEnvironment(KVEnvironmentProduction);
  EXPECT_EQ(KVServerUrl::baseUrlForServer(KVServerApi), defaults.productionApiUrl);
  KVServerUrl::setEnvironment(5);
  for (int server : {0, 1, 2}) EXPECT_EQ(KVServerUrl::baseUrlForServer(server), std::nullopt);
}

TEST_F(ServerUrlTest, DefaultsAreHttpsOriginsWithoutTrailingSlash) {
  const KVDeployment defaults = KVDeployment::defaults();
  for (const std::string& url : {defaults.stagingApiUrl, defaults.productionApiUrl,
                                 defaults.stagingSignOnUrl, defaults.productionSignOnUrl}) {
    EXPECT_EQ(url.rfind("https://", 0), 0u) << url;
    EXPECT_NE(url.back(), '/') << url;
  }
}

TEST_F(ServerUrlTest, TheBundlesDeploymentFileOverridesWhatItNames) {
  shipDeploymentFile(R"({"stagingApiUrl": "http://127.0.0.1:8080", "redirectScheme": 7})");
  KVServerUrl::setEnvironment(KVEnvironmentStaging);
  EXPECT_EQ(KVServerUrl::baseUrlForServer(KVServerApi), "http://127.0.0.1:8080");
  const KVDeployment current = KVDeployment::current();
  EXPECT_EQ(current.stagingSignOnUrl, KVDeployment::defaults().stagingSignOnUrl);
  EXPECT_EQ(current.redirectScheme, KVDeployment::defaults().redirectScheme);
}

TEST_F(ServerUrlTest, ADamagedDeploymentFileLeavesTheDefaults) {
  shipDeploymentFile("{\"stagingApiUrl\": ");
  EXPECT_EQ(KVDeployment::current().stagingApiUrl, KVDeployment::defaults().stagingApiUrl);
}

}  // namespace
}  // namespace kolvane
