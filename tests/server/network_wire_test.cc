// What KVNetwork puts on the wire and how it reads what comes back, against a peer that
// records the raw bytes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>

#include "core/main_controller.h"
#include "server/api.h"
#include "server/network.h"
#include "server/server_url.h"
#include "server/session.h"
#include "support/capture_server.h"
#include "support/reviewer_fixture.h"

namespace kolvane {
namespace {

using kolvane::testing::FaultyFileSystem;

using ::testing::HasSubstr;

class NetworkWireTest : public testing::ReviewerTest {
 protected:
  void SetUp() override {
    ReviewerTest::SetUp();
    useServerAt(peer_.baseUrl());
  }
  std::string host() const { return "Host: 127.0.0.1:" + std::to_string(peer_.port()) + "\r\n"; }
  // Runs the main queue until the exchange completes.
  KVNetwork::Answer exchange(const std::function<void(KVJsonCompletion)>& start) {
    std::optional<KVNetwork::Answer> answer;
    start([&answer](std::optional<KVError> error, nlohmann::json value) {
      answer = KVNetwork::Answer{std::move(error), std::move(value)};
    });
    EXPECT_TRUE(platform().queue.runUntil([&] { return answer.has_value(); }));
    return answer.value_or(KVNetwork::Answer{});
  }
  std::string lastRequest() const {
    const auto requests = peer_.requests();
    return requests.empty() ? std::string() : requests.back();
  }

  testing::CaptureServer peer_;
};

TEST_F(NetworkWireTest, AuthenticatedGetCarriesTheQueryUnescapedAndTheBearerToken) {
  logIn("tok-1");
  exchange([](auto done) {
    KVNetwork::getPath("/p", true, KVServerApi, {{"a", "x&y=z"}, {"b", "1"}}, done);
  });
  EXPECT_EQ(lastRequest(), "GET /p?a=x&y=z&b=1 HTTP/1.1\r\n" + host() +
                               "Content-Type: application/json\r\n"
                               "Authorization: Bearer tok-1\r\n\r\n");
}

TEST_F(NetworkWireTest, TokenExchangeIsAnEscapedFormToTheSignOnHost) {
  exchange([](auto done) {
    KVApi::tokenWithCode("c/1 +", false,
                         [done](std::optional<KVError> error, nlohmann::json value) {
                           done(std::move(error), std::move(value));
                         });
  });
  const std::string body =
      "client_id=ios-sdk&redirect_uri=kolvane-test%3A%2F%2Flogin%2F&code=c%2F1%20%2B"
      "&grant_type=authorization_code";
  EXPECT_EQ(lastRequest(),
            "POST /auth/realms/Kolvane/protocol/openid-connect/token HTTP/1.1\r\n" + host() +
                "Content-Type: application/x-www-form-urlencoded\r\nAccept: text/plain\r\n"
                "Content-Length: " +
                std::to_string(body.size()) + "\r\n\r\n" + body);
}

TEST_F(NetworkWireTest, JsonPutAndMultipartUpload) {
  logIn();
  exchange([](auto done) {
    KVNetwork::putPath("/s", true, KVServerApi, {{"localeId", "fr-FR"}, {"strings", {1, 2}}}, done);
  });
  const std::string json = R"({"localeId":"fr-FR","strings":[1,2]})";
  EXPECT_EQ(lastRequest(), "PUT /s HTTP/1.1\r\n" + host() +
                               "Content-Type: application/json;charset=UTF-8\r\n"
                               "Accept: application/json;charset=UTF-8\r\n"
                               "Authorization: Bearer tok\r\nContent-Length: " +
                               std::to_string(json.size()) + "\r\n\r\n" + json);

  const std::string file = folder() + "/a/b/saveFile.xlf";
  ASSERT_TRUE(platform().files.writeFile(file, "<xliff/>"));
  exchange([&file](auto done) { KVNetwork::postPath("/up", file, done); });
  const std::regex multipart(
      "POST /up HTTP/1\\.1\r\nHost: [^\r]+\r\n"
      "Content-Type: multipart/form-data; boundary=(Boundary-[0-9A-F-]{36})\r\n"
      "Authorization: Bearer tok\r\nContent-Length: [0-9]+\r\n\r\n"
      "--\\1\r\nContent-Disposition: form-data; name=\"file\"; filename=\"saveFile.xlf\"\r\n"
      "Content-Type: application/octet-stream\r\n\r\n<xliff/>\r\n--\\1--\r\n");
  EXPECT_TRUE(std::regex_match(lastRequest(), multipart)) << lastRequest();
}

TEST_F(NetworkWireTest, AnswersBecomeErrorsAndValues) {
  struct Case {
    std::string raw;
    std::optional<std::string> domain;
    long code;
    std::string description;
    bool hasValue;
  };
  const std::vector<Case> cases = {
      {testing::CaptureServer::answer(200, ""), std::nullopt, 0, "", false},
      {testing::CaptureServer::answer(200, R"({"response":{"data":1}})"), std::nullopt, 0, "",
       true},
      {testing::CaptureServer::answer(500,
                                      R"({"response":{"code":"BOOM","errors":[{"m":1},{"m":2}]}})"),
       "server", 500, "2 errors", true},
      {testing::CaptureServer::answer(500, R"({"response":{"code":"BOOM","errors":[]}})"), "server",
       500, "BOOM", true},
      {testing::CaptureServer::answer(204, ""), "server", 204, "Server error", false},
      {testing::CaptureServer::answer(200, "<html>"), "json", 3840, "", false},
      {"", "network", 52, "", false},  // the connection closes without an answer
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.raw);
    peer_.setAnswer(each.raw);
    const auto answer =
        exchange([](auto done) { KVNetwork::getPath("/x", false, KVServerApi, nullptr, done); });
    EXPECT_EQ(answer.error ? std::optional(answer.error->domain) : std::nullopt, each.domain);
    if (answer.error) {
      EXPECT_EQ(answer.error->code, each.code);
      if (!each.description.empty()) {
        EXPECT_EQ(answer.error->localizedDescription, each.description);
      }
    }
    EXPECT_EQ(!answer.value.is_null(), each.hasValue);
  }
}

TEST_F(NetworkWireTest, DownloadReplacesTheFileOnlyWithA200Answer) {
  logIn();
  const std::string file = folder() + "/new/folder/fr_FR_published.xlf";
  const auto download = [this](const std::string& target) {
    std::optional<std::optional<KVError>> result;
    KVNetwork::downloadPath("/export", {{"retrievalType", "PUBLISHED"}}, 5, target,
                            [&result](std::optional<KVError> error) { result = error; });
    EXPECT_TRUE(platform().queue.runUntil([&] { return result.has_value(); }));
    return result.value_or(std::nullopt);
  };
  peer_.setAnswer(testing::CaptureServer::answer(200, "the translations"));
  EXPECT_EQ(download(file), std::nullopt);
  EXPECT_EQ(platform().files.readFile(file), "the translations");
  EXPECT_THAT(lastRequest(), HasSubstr("GET /export?retrievalType=PUBLISHED HTTP/1.1\r\n"));

  for (int status : {404, 500, 204}) {
    peer_.setAnswer(testing::CaptureServer::answer(status, "error page"));
    const auto refused = download(file);
    ASSERT_TRUE(refused.has_value()) << status;
    EXPECT_EQ(refused->domain, "server");
    EXPECT_EQ(refused->code, status);
    EXPECT_EQ(platform().files.readFile(file), "the translations");
  }

  peer_.setAnswer(testing::CaptureServer::answer(200, "newer"));
  platform().files.fail(FaultyFileSystem::Call::writeFileAtomically);
  const auto unwritable = download(file);
  ASSERT_TRUE(unwritable.has_value());
  EXPECT_EQ(unwritable->domain, "file");
  platform().files.heal();

  peer_.setAnswer("");
  const auto failed = download(file);
  ASSERT_TRUE(failed.has_value());
  EXPECT_EQ(failed->domain, "network");
  EXPECT_EQ(platform().files.readFile(file), "the translations");  // left as it was
}

TEST_F(NetworkWireTest, PlainDownloadOfAUrlAddsNoHeadersAndKeepsOnlyA200Answer) {
  const std::string file = folder() + "/plain/file.bin";
  const auto fetch = [&](int status, const std::string& body) {
    peer_.setAnswer(testing::CaptureServer::answer(status, body));
    std::optional<std::pair<std::optional<KVError>, std::string>> result;
    KVNetwork::downloadFileAtURL(peer_.baseUrl() + "/f?x=1", file,
                                 [&result](std::optional<KVError> error, std::string data) {
                                   result.emplace(std::move(error), std::move(data));
                                 });
    EXPECT_TRUE(platform().queue.runUntil([&] { return result.has_value(); }));
    return result.value_or(std::pair<std::optional<KVError>, std::string>());
  };
  const auto good = fetch(200, "raw bytes");
  EXPECT_EQ(good.first, std::nullopt);
  EXPECT_EQ(good.second, "raw bytes");
  EXPECT_EQ(platform().files.readFile(file), "raw bytes");
  EXPECT_EQ(lastRequest(), "GET /f?x=1 HTTP/1.1\r\n" + host() + "\r\n");

  const auto failed = fetch(500, "oops");
  ASSERT_TRUE(failed.first.has_value());
  EXPECT_EQ(failed.first->code, 500);
  EXPECT_EQ(failed.second, "oops");
  EXPECT_EQ(platform().files.readFile(file), "raw bytes");
}

TEST_F(NetworkWireTest, DebugLogsEveryExchangeAndLogOnlyTheFailedOnes) {
  KVMainController::sharedInstance().setLog(true);
  peer_.setAnswer(testing::CaptureServer::answer(200, "[1]"));
  exchange([](auto done) { KVNetwork::getPath("/ok", false, KVServerApi, nullptr, done); });
  EXPECT_TRUE(platform().log.lines().empty());
  peer_.setAnswer(testing::CaptureServer::answer(500, "{}"));
  exchange([](auto done) { KVNetwork::getPath("/bad", false, KVServerApi, nullptr, done); });
  ASSERT_EQ(platform().log.lines().size(), 1u);
  EXPECT_EQ(platform().log.lines()[0],
            "[KV] [JN] GET " + peer_.baseUrl() + "/bad => 500 Server error");

  KVMainController::sharedInstance().setDebug(true);
  peer_.setAnswer(testing::CaptureServer::answer(200, R"({"a":1})"));
  exchange([](auto done) { KVNetwork::getPath("/ok", false, KVServerApi, nullptr, done); });
  EXPECT_EQ(platform().log.lines().back(),
            "[KV] \n-- Kolvane Network Request --\nGET " + peer_.baseUrl() +
                "/ok\n\n{\n  \"Content-Type\": \"application/json\"\n}\n\n\n----\n"
                "Response [200]\nJSON: {\n  \"a\": 1\n}\n----");
}

}  // namespace
}  // namespace kolvane
