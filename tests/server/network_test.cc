#include "server/network.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/posix_file_system.h"
#include "server/server_url.h"
#include "support/reviewer_fixture.h"

namespace kolvane {
namespace {

using ::testing::MatchesRegex;

class NetworkTest : public testing::ReviewerTest {
 protected:
  void SetUp() override {
    testing::ReviewerTest::SetUp();
    useDeployment(
        {{"stagingApiUrl", "https://api.test"}, {"stagingSignOnUrl", "https://sso.test"}});
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

TEST_F(NetworkTest, AnswersOnlyExactly200SucceedAndBodiesMustBeJson) {
  // The wire tests cover the usual answers; these are the ones a peer rarely sends.
  EXPECT_EQ(KVNetwork::handleAnswer(201, "", std::nullopt).error->localizedDescription,
            "Server error");
  EXPECT_EQ(KVNetwork::handleAnswer(200, "42", std::nullopt).error->domain, "json");
  EXPECT_EQ(KVNetwork::errorFromJson("text", 404).localizedDescription, "Server error");
  const auto failed =
      KVNetwork::handleAnswer(500, R"({"response":{"code":"E","errors":[1]}})", std::nullopt);
  EXPECT_EQ(failed.error->localizedDescription, "1 errors");
  EXPECT_TRUE(failed.value.is_object());  // the value is handed on with the error
  const auto offline = KVNetwork::handleAnswer(0, "", KVError{"network", 7, "offline"});
  EXPECT_EQ(offline.error->localizedDescription, "offline");
}

TEST_F(NetworkTest, NoAnswerIsToldInWordsWithTheTransportsMessageAsItsDetails) {
  HttpResponse cut;
  cut.failure = std::make_pair(7L, std::string("Couldn't connect to server"));
  const KVError error = KVNetwork::connectionError(cut);
  EXPECT_EQ(error.localizedDescription,
            "The translation server cannot be reached. Check the connection and try again.");
  EXPECT_EQ(error.details, "Couldn't connect to server");
  EXPECT_EQ(error.code, 7);
  EXPECT_EQ(KVNetwork::errorFromJson(nullptr, 503).details, "HTTP status 503");
}

}  // namespace
}  // namespace kolvane
