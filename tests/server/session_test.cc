// The session's token states, credentials in the keychain, token decoding and logout, with
// the server answered by a script.
#include "server/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/server_text.h"
#include "core/main_controller.h"
#include "core/workflow_step.h"
#include "server/keychain.h"
#include "server/login_form.h"
#include "support/reviewer_fixture.h"

namespace kolvane {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

// A login form the test completes by hand; a successful login gives the session a fresh token.
class FakeLoginForm : public KVLoginForm {
 public:
  void open(std::function<void(bool)> completion) override {
    ++opened;
    pending = std::move(completion);
  }
  void finish(bool cancelled, double now) {
    if (!cancelled) {
      KVSession::sharedInstance().setToken(
          {{"access_token", "after-login"}, {"expires", now + 60}, {"refresh_expires", now + 60}});
    }
    auto completion = std::move(pending);
    completion(cancelled);
  }
  int opened = 0;
  std::function<void(bool)> pending;
};

std::string base64Url(const std::string& text) {
  static const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string out;
  int bits = 0;
  unsigned value = 0;
  for (unsigned char c : text) {
    value = (value << 8) | c;
    bits += 8;
    while (bits >= 6) out += alphabet[(value >> (bits -= 6)) & 63];
  }
  if (bits > 0) out += alphabet[(value << (6 - bits)) & 63];
  return out;
}

class SessionTest : public testing::ReviewerTest {
 protected:
  void SetUp() override {
    ReviewerTest::SetUp();
    form_ = std::make_shared<FakeLoginForm>();
    KVLoginViewController::setLoginForm(form_);
  }
  KVSession& session() { return KVSession::sharedInstance(); }
  double now() { return platform().now(); }
  void holdToken(double expires, double refreshExpires) {
    session().setToken({{"access_token", "old"},
                        {"refresh_token", "r1"},
                        {"expires", expires},
                        {"refresh_expires", refreshExpires}});
  }
  // Authorises a request; the header it got, or none when it was dropped (not yet sent).
  std::optional<std::string> authorize() {
    auto request = std::make_shared<HttpRequest>();
    std::optional<std::string> header;
    session().authorizeRequest(request, [request, &header] {
      header = request->headers.empty() ? "" : request->headers[0].second;
    });
    platform().queue.runAll();
    return header;
  }
  void answerTokens(const std::string& access, int status = 200) {
    platform().transport.answer = [access, status](const HttpRequest&) {
      HttpResponse response;
      response.status = status;
      response.body = nlohmann::json{
          {"access_token", access},
          {"refresh_token", "r2"},
          {"expires_in", 300},
          {"refresh_expires_in",
           1800}}.dump();
      return response;
    };
  }

  std::shared_ptr<FakeLoginForm> form_;
};

TEST_F(SessionTest, FreshTokenIsStampedWithoutAnyRequest) {
  holdToken(now() + 1, now() + 100);
  EXPECT_EQ(authorize(), "Bearer old");
  EXPECT_TRUE(platform().transport.sent.empty());
}

TEST_F(SessionTest, LapsedTokenIsRefreshedWhenItsRefreshTokenHasNotLapsed) {
  // "expires" equal to now counts as lapsed; "refresh_expires" equal to now still refreshes.
  for (const auto& [expires, refreshExpires] :
       std::vector<std::pair<double, double>>{{now(), now() + 100}, {now() - 5, now()}}) {
    holdToken(expires, refreshExpires);
    platform().transport.sent.clear();
    answerTokens("new");
    EXPECT_EQ(authorize(), "Bearer new");
    ASSERT_EQ(platform().transport.sent.size(), 1u);
    EXPECT_THAT(platform().transport.sent[0].body,
                HasSubstr("grant_type=refresh_token&refresh_token=r1"));
    EXPECT_EQ(session().token()["expires"], now() + 300);
    EXPECT_EQ(form_->opened, 0);
  }
}

TEST_F(SessionTest, BothTokensLapsedAsksForALoginOnceTheAppHasLaunched) {
  holdToken(now() - 10, now() - 1);
  EXPECT_EQ(authorize(), std::nullopt);  // not launched: dropped, no form
  EXPECT_EQ(form_->opened, 0);

  KVMainController::sharedInstance().startWithProjectId("demo", nullptr);
  EXPECT_EQ(authorize(), std::nullopt);  // waits for the form
  ASSERT_EQ(form_->opened, 1);
  form_->finish(/*cancelled=*/true, now());  // dropped: nothing is sent
  platform().queue.runAll();
  EXPECT_TRUE(platform().transport.sent.empty());

  auto request = std::make_shared<HttpRequest>();
  bool sent = false;
  session().authorizeRequest(request, [&sent] { sent = true; });
  ASSERT_EQ(form_->opened, 2);
  form_->finish(/*cancelled=*/false, now());
  EXPECT_TRUE(sent);
  EXPECT_EQ(request->headers.at(0).second, "Bearer after-login");
}

TEST_F(SessionTest, FailedRefreshFallsBackToTheLoginFormAndKeepsTheToken) {
  KVMainController::sharedInstance().startWithProjectId("demo", nullptr);
  holdToken(now() - 10, now() + 10);
  answerTokens("ignored", 400);
  EXPECT_EQ(authorize(), std::nullopt);
  EXPECT_EQ(form_->opened, 1);
  EXPECT_EQ(session().accessToken(), "old");
}

TEST_F(SessionTest, TokensThatAreLapsedOnArrivalNeverLoop) {
  KVMainController::sharedInstance().startWithProjectId("demo", nullptr);
  holdToken(now() - 10, now() + 10);
  platform().transport.answer = [](const HttpRequest&) {
    HttpResponse response;
    response.status = 200;
    response.body = R"({"access_token":"z","refresh_token":"r","expires_in":0,)"
                    R"("refresh_expires_in":0})";
    return response;
  };
  EXPECT_EQ(authorize(), std::nullopt);
  EXPECT_EQ(platform().transport.sent.size(), 1u);  // one refresh, then the login form
  ASSERT_EQ(form_->opened, 1);
  // A login that leaves a lapsed token drops the request instead of asking again.
  auto completion = std::move(form_->pending);
  completion(false);
  platform().queue.runAll();
  EXPECT_EQ(form_->opened, 1);
  EXPECT_EQ(platform().transport.sent.size(), 1u);
}

TEST_F(SessionTest, WithoutTokenOrWithoutFormTheRequestIsDropped) {
  EXPECT_EQ(authorize(), std::nullopt);
  session().setToken({{"refresh_token", "r"}});  // no access token
  EXPECT_EQ(authorize(), std::nullopt);

  KVLoginViewController::setLoginForm(nullptr);  // no form: as if the login was cancelled
  KVMainController::sharedInstance().startWithProjectId("demo", nullptr);
  holdToken(now() - 10, now() - 1);
  EXPECT_EQ(authorize(), std::nullopt);
  EXPECT_TRUE(platform().transport.sent.empty());
}

TEST_F(SessionTest, UserInfoFromTheTokenPayload) {
  const nlohmann::json claims = {{"name", "Ana"}, {"email", "a@b.c"}, {"sub", "u-1"}};
  const std::string payload = base64Url(claims.dump());
  EXPECT_EQ(KVSession::userInfoFromToken("h." + payload + ".sig"), claims);
  EXPECT_EQ(KVSession::userInfoFromToken("h." + payload), claims);
  // base64url characters and missing padding: payloads of 10 and 12 characters.
  EXPECT_EQ(KVSession::userInfoFromToken("h." + base64Url("{\"a\":\">?\"}") + ".s"),
            (nlohmann::json{{"a", ">?"}}));
  EXPECT_EQ(KVSession::userInfoFromToken("h." + base64Url("[1,2,3,4]") + ".s"),
            (nlohmann::json{1, 2, 3, 4}));
  for (const char* bad : {"no-dot", "h.!!!!.s", "h.aGVsbG8.s", "h..s", "h.a.s"}) {
    EXPECT_EQ(KVSession::userInfoFromToken(bad), std::nullopt) << bad;
  }
}

TEST_F(SessionTest, OnlyTheSessionsOwnTokenFieldsAreKeptAndAnOpaqueTokenHasNoName) {
  nlohmann::json deep = "leaf";
  for (int i = 0; i < 200; ++i) deep = nlohmann::json::array({std::move(deep)});
  session().setToken({{"access_token", "opaque"},
                      {"expires", 5},
                      {"scope", deep},
                      {"refresh_token", nlohmann::json::object()}});
  EXPECT_EQ(session().token(), (nlohmann::json{{"access_token", "opaque"}, {"expires", 5}}));
  EXPECT_EQ(session().userName(), "");
  EXPECT_EQ(KVSession::userInfoFromToken("opaque"), std::nullopt);
}

TEST_F(SessionTest, CodeExchangeKeepsAndSavesTheCredentials) {
  const std::string access = "h." + base64Url(R"({"name":"Ana"})") + ".s";
  answerTokens(access);
  std::optional<std::optional<KVError>> result;
  session().getTokenWithCode("code-1", false, [&result](auto error) { result = error; });
  platform().queue.runAll();
  ASSERT_TRUE(result.has_value());
  EXPECT_EQ(*result, std::nullopt);
  EXPECT_EQ(session().userId(), "noid");  // the answer had no "uid"
  EXPECT_EQ(session().userInfo(), (nlohmann::json{{"name", "Ana"}}));

  // The next launch: start-up restores the login.
  session().resetForTesting();
  KVMainController::sharedInstance().startWithProjectId("demo", nullptr);
  EXPECT_TRUE(session().isLoggedIn());
  EXPECT_EQ(session().userId(), "noid");
  EXPECT_EQ(session().accessToken(), access);
  EXPECT_EQ(session().userInfo(), (nlohmann::json{{"name", "Ana"}}));
  // A restored token is tried at once, so a lapsed one is dealt with early.
  EXPECT_THAT(platform().transport.sent.back().url, EndsWith("/auth-api/v2/ping"));
}

TEST_F(SessionTest, OversizedTokensIdsAndNamesAreRefusedInWordsAndKeepTheLoginThatWasThere) {
  const auto exchange = [this](nlohmann::json answer) {
    answer["expires_in"] = 300;
    answer["refresh_expires_in"] = 600;
    platform().transport.answer = [answer](const HttpRequest&) {
      HttpResponse response;
      response.status = 200;
      response.body = answer.dump();
      return response;
    };
    std::optional<KVError> result;
    session().getTokenWithCode("code", false, [&result](auto error) { result = error; });
    platform().queue.runAll();
    return result.value_or(KVError{}).localizedDescription;
  };
  const std::string longName(kKVMaxServerNameBytes + 1, 'n');
  const std::string fits = "h." + base64Url(nlohmann::json{{"name", "Ana"}}.dump()) + ".s";
  EXPECT_EQ(exchange({{"access_token", fits}, {"uid", "u"}}), "");
  EXPECT_EQ(exchange({{"access_token", std::string(kKVMaxServerTokenBytes + 1, 'a')}}),
            "The sign-in answer was refused: its \"access_token\" is longer than 16,384 bytes.");
  EXPECT_EQ(exchange({{"access_token", "opaque"}, {"uid", std::string(300, 'u')}}),
            "The sign-in answer was refused: its \"uid\" is longer than 256 bytes.");
  EXPECT_EQ(
      exchange({{"access_token", "h." + base64Url(nlohmann::json{{"name", longName}}.dump())}}),
      "The sign-in answer was refused: its \"name\" is longer than 1,024 bytes.");
  EXPECT_EQ(session().accessToken(), fits);
  EXPECT_EQ(session().userId(), "u");

  // An oversized record in the keychain is no login: it would go out on every request.
  KVKeychain::saveValue(nlohmann::json{{"access_token", std::string(20000, 'a')}}.dump(), "token");
  session().resetForTesting();
  EXPECT_FALSE(session().loadSavedCredentials());
}

TEST_F(SessionTest, NothingIsSavedWithoutAUserIdAndAnUnavailableKeychainIsNoLogin) {
  holdToken(now() + 10, now() + 10);
  session().saveCredentialsToKeychain();
  EXPECT_EQ(KVKeychain::loadValueForKey("token"), std::nullopt);

  session().setUserId("u");
  platform().keychainStore.unavailable = true;
  session().saveCredentialsToKeychain();
  session().resetForTesting();
  EXPECT_FALSE(session().loadSavedCredentials());
  platform().keychainStore.unavailable = false;
  EXPECT_EQ(KVKeychain::loadValueForKey("token"), std::nullopt);
}

TEST_F(SessionTest, LogOutForgetsEverythingButTheSavedLocale) {
  platform().defaults.setObject("KVLocale", "fr_FR");
  platform().defaults.setObject("COLocale", "fr_FR");
  KVWorkflowStep step;
  step.canTranslate = true;
  platform().defaults.setObject("KVWorkflowStep", step.archivedData());
  KVMainController::sharedInstance().startWithProjectId("proj", nullptr);
  holdToken(now() + 10, now() + 10);
  session().setUserId("u");
  session().saveCredentialsToKeychain();
  session().setProjectInfo({{"name", "P"}});
  session().logOut();

  ASSERT_EQ(platform().transport.sent.size(), 1u);
  EXPECT_THAT(platform().transport.sent[0].url,
              EndsWith("/openid-connect/logout?refresh_token=r1&client_id=proj"));
  EXPECT_FALSE(session().isLoggedIn());
  EXPECT_EQ(session().userId(), std::nullopt);
  EXPECT_TRUE(session().projectInfo().is_null());
  EXPECT_EQ(KVKeychain::loadValueForKey("token"), std::nullopt);
  EXPECT_EQ(KVKeychain::loadValueForKey("userId"), std::nullopt);
  EXPECT_EQ(platform().defaults.objectForKey("KVWorkflowStep"), std::nullopt);
  EXPECT_EQ(platform().defaults.objectForKey("COLocale"), std::nullopt);
  EXPECT_EQ(platform().defaults.objectForKey("KVLocale"), "fr_FR");  // a different key: kept
  EXPECT_EQ(KVMainController::sharedInstance().workflowStep(), nullptr);
  EXPECT_EQ(KVMainController::sharedInstance().locale(), std::nullopt);
}

TEST_F(SessionTest, AccessGroupsGetTheBundleSeedInFront) {
  EXPECT_EQ(KVKeychain::getBundleSeedIdentifier(), "SEED42");
  EXPECT_EQ(KVKeychain::getFullAppleIdentifier("shared"), "SEED42.shared");
  EXPECT_EQ(KVKeychain::getFullAppleIdentifier("SEED42.shared"), "SEED42.shared");
  EXPECT_TRUE(KVKeychain::saveValue("v", "k", std::string("shared")));
  EXPECT_EQ(KVKeychain::loadValueForKey("k", std::string("SEED42.shared")), "v");
  EXPECT_EQ(KVKeychain::loadValueForKey("k", std::string("other")), std::nullopt);
  EXPECT_EQ(KVKeychain::loadValueForKey("k"), "v");
}

}  // namespace
}  // namespace kolvane
