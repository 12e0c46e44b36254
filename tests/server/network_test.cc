#include "server/network.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/server_url.h"
#include "kolvane/kolvane.h"
#include "platform/linux/posix_file_system.h"
#include "support/fake_platform.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using ::testing::Pair;

class NetworkTest : public testing::PlatformTest {
 protected:
  void SetUp() override {
    testing::PlatformTest::SetUp();
    const std::string path = folder() + "/Kolvane.json";
    ASSERT_TRUE(writeFileAtomically(
        path, R"({"stagingApiUrl": "https://api.test", "stagingSignOnUrl": "https://sso.test"})"));
    platform().bundle.resources["Kolvane.json"] = path;
    KVServerUrl::setEnvironment(KVEnvironmentStaging);
  }
};

TEST_F(NetworkTest, ParameterTextKeepsOrderAndEscapesEveryReservedCharacter) {
  KVParametersJson parameters;
  parameters["z key"] = "a b!*'\"();:@&=+$,/?%#[]é~._-";
  parameters["a"] = 5;
  EXPECT_EQ(KVNetwork::makeParamsStringsWithDict(parameters),
            "z key=a%20b%21%2A%27%22%28%29%3B%3A%40%26%3D%2B%24%2C%2F%3F%25%23%5B%5D%C3%A9~._-"
            "&a=5");
  EXPECT_EQ(KVNetwork::makeParamsStringsWithDict(KVParametersJson::object()), std::nullopt);
  EXPECT_EQ(KVNetwork::makeParamsStringsWithDict(nullptr), std::nullopt);
}

TEST_F(NetworkTest, GetQueryIsUnescapedAgainOnPurpose) {
  KVParametersJson parameters;
  parameters["retrievalType"] = "PENDING";
  parameters["q"] = "a&b=c d";
  const auto request = KVNetwork::getRequestForServer(KVServerApi, "/x/y", parameters);
  ASSERT_TRUE(request);
  EXPECT_EQ(request->method, "GET");
  EXPECT_EQ(request->url, "https://api.test/x/y?retrievalType=PENDING&q=a&b=c d");
  EXPECT_EQ(KVNetwork::getRequestForServer(KVServerApi, "/x", {})->url, "https://api.test/x");
  EXPECT_EQ(KVNetwork::getRequestForServer(KVServerNone, "/x", {})->url, "/x");
  KVServerUrl::setEnvironment(9);
  EXPECT_EQ(KVNetwork::getRequestForServer(KVServerApi, "/x", {}), std::nullopt);
}

TEST_F(NetworkTest, FormAndJsonPosts) {
  KVParametersJson form;
  form["grant_type"] = "authorization_code";
  form["code"] = "a/b";
  const auto token = KVNetwork::postAuthRequestForPath("/token", form);
  EXPECT_EQ(token->url, "https://sso.test/token");
  EXPECT_THAT(token->headers, ElementsAre(Pair("Content-Type", "application/x-www-form-urlencoded"),
                                          Pair("Accept", "text/plain")));
  EXPECT_EQ(token->body, "grant_type=authorization_code&code=a%2Fb");
  EXPECT_EQ(KVNetwork::postAuthRequestForPath("/t", KVParametersJson::object())->body, "");

  KVParametersJson json;
  json["keys"] = {"a", "b"};
  const auto api = KVNetwork::postApiRequestForPath("/submit", json);
  EXPECT_EQ(api->url, "https://api.test/submit");
  EXPECT_THAT(api->headers, ElementsAre(Pair("Content-Type", "application/json;charset=UTF-8"),
                                        Pair("Accept", "application/json;charset=UTF-8")));
  EXPECT_EQ(api->body, R"({"keys":["a","b"]})");
}

TEST_F(NetworkTest, MultipartBodyByteForByte) {
  const std::string file = folder() + "/a/b/saveFile.xlf";
  ASSERT_TRUE(writeFileAtomically(file, std::string("<x>\0y", 5)));
  const auto body = KVNetwork::createBodyWithBoundary("Boundary-X", {{"k", "v"}}, {file}, "file");
  constexpr char kExpected[] =
      "--Boundary-X\r\nContent-Disposition: form-data; name=\"k\"\r\n\r\nv\r\n"
      "--Boundary-X\r\nContent-Disposition: form-data; name=\"file\"; filename=\"saveFile.xlf\"\r\n"
      "Content-Type: application/octet-stream\r\n\r\n<x>\0y\r\n--Boundary-X--\r\n";
  EXPECT_EQ(body, std::string(kExpected, sizeof kExpected - 1));
  const auto upload = KVNetwork::uploadRequestForPath("/import", {file});
  ASSERT_TRUE(upload);
  const std::string boundary = upload->headers[0].second.substr(30);
  EXPECT_THAT(boundary,
              MatchesRegex("Boundary-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-"
                           "[0-9A-F]{12}"));
  EXPECT_TRUE(upload->body.ends_with("--" + boundary + "--\r\n"));
  EXPECT_EQ(KVNetwork::uploadRequestForPath("/import", {folder() + "/missing"}), std::nullopt);
}

TEST_F(NetworkTest, ErrorsFromFailedAnswers) {
  const auto two =
      KVNetwork::errorFromJson({{"response", {{"code", "INVALID"}, {"errors", {"a", "b"}}}}}, 500);
  EXPECT_EQ(two.domain, "server");
  EXPECT_EQ(two.code, 500);
  EXPECT_EQ(two.localizedDescription, "2 errors");
  EXPECT_EQ(KVNetwork::errorFromJson(
                {{"response", {{"code", "INVALID"}, {"errors", nlohmann::json::array()}}}}, 500)
                .localizedDescription,
            "INVALID");
  EXPECT_EQ(KVNetwork::errorFromJson({{"other", 1}}, 404).localizedDescription, "Server error");
  EXPECT_EQ(KVNetwork::errorFromJson("text", 404).localizedDescription, "Server error");
}

TEST_F(NetworkTest, AnswersOnlyExactly200SucceedAndBodiesMustBeJson) {
  auto ok = KVNetwork::handleAnswer(200, "", std::nullopt);
  EXPECT_FALSE(ok.error);
  EXPECT_TRUE(ok.value.is_null());
  EXPECT_EQ(KVNetwork::handleAnswer(200, R"({"a":1})", std::nullopt).value["a"], 1);
  EXPECT_EQ(KVNetwork::handleAnswer(201, "", std::nullopt).error->localizedDescription,
            "Server error");
  EXPECT_EQ(KVNetwork::handleAnswer(200, "<html>", std::nullopt).error->domain, "json");
  EXPECT_EQ(KVNetwork::handleAnswer(200, "42", std::nullopt).error->domain, "json");
  const auto failed =
      KVNetwork::handleAnswer(500, R"({"response":{"code":"E","errors":[1]}})", std::nullopt);
  EXPECT_EQ(failed.error->localizedDescription, "1 errors");
  EXPECT_TRUE(failed.value.is_object());  // the value is handed on with the error
  const auto offline = KVNetwork::handleAnswer(0, "", KVError{"network", 7, "offline"});
  EXPECT_EQ(offline.error->localizedDescription, "offline");
}

}  // namespace
}  // namespace kolvane
