// A reviewer's whole round trip against the local translation server over 127.0.0.1: sign in,
// fetch project data, pull text, upload edits, submit, reject, file an issue, sign out; and
// what the SDK makes of a server that fails.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "base/utf.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/workflow_step.h"
#include "server/api.h"
#include "server/network.h"
#include "server/server_url.h"
#include "server/session.h"
#include "strings/cues.h"
#include "support/devserver_process.h"
#include "support/reviewer_fixture.h"

namespace kolvane {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

using testing::kSignOnRealm;

class ReviewRoundTripTest : public testing::ReviewerTest {
 protected:
  void SetUp() override {
    ReviewerTest::SetUp();
    startServer({"--token-lifetime", "300", "--refresh-lifetime", "1800"});
  }
  void startServer(std::vector<std::string> arguments) {
    server_ = std::make_unique<testing::DevServerProcess>(std::move(arguments));
    ASSERT_TRUE(server_->running());
    useServerAt(server_->baseUrl());
    platform().defaults.setObject("KVLocale", "fr_FR");
    controller().startWithProjectId("demo", {{"environment", "stage"}});
  }
  KVMainController& controller() { return KVMainController::sharedInstance(); }
  std::string lastCode_;
  KVSession& session() { return KVSession::sharedInstance(); }
  template <typename Result>
  Result wait(std::optional<Result>& result) {
    EXPECT_TRUE(platform().queue.runUntil([&] { return result.has_value(); }));
    return result.value_or(Result{});
  }
  // Signs in on the server's form and exchanges the code, as the login screen does.
  std::optional<KVError> signIn(const std::string& password = "reviewer") {
    const auto answer = testing::directRequest(
        "POST", server_->baseUrl() + kSignOnRealm + "/auth?redirect_uri=kolvane-test://login/",
        "username=reviewer&password=" + password, "application/x-www-form-urlencoded");
    const auto at = answer.location.find("code=");
    if (answer.status != 302 || at == std::string::npos) return KVError{"test", answer.status, ""};
    lastCode_ = answer.location.substr(at + 5);
    std::optional<std::optional<KVError>> result;
    session().getTokenWithCode(lastCode_, false, [&result](auto error) { result = error; });
    return wait(result);
  }
  std::optional<KVError> pull() {
    std::optional<std::optional<KVError>> result;
    controller().localeStrings()->pullWithCompletion([&result](auto error) { result = error; });
    const auto error = wait(result);
    controller().loadStrings();
    return error;
  }
  std::u16string shown(std::string_view key) {
    return kv_stringByRemovingCues(
        controller().localeStrings()->localizedStringForKey(key).value_or(u"(none)"));
  }
  std::shared_ptr<KVStringGroup> loaded(const std::string& key) {
    return controller().localeStrings()->loadedStrings()->at(key);
  }
  void chooseStep(const std::string& uid) {
    std::optional<KVWorkflowSteps> steps;
    KVApi::projectWorkflowsForce(true, [&steps](auto, KVWorkflowSteps got) { steps = got; });
    for (const auto& step : wait(steps)) {
      if (step->uid == uid) controller().setWorkflowStep(step);
    }
  }
  KVGroupList changeStatus(bool submit, const KVGroupList& strings) {
    std::optional<KVGroupList> failed;
    auto done = [&failed](KVGroupList result, KVRefusalReasons) { failed = std::move(result); };
    submit ? KVApi::submitStrings(strings, done) : KVApi::rejectStrings(strings, done);
    return wait(failed);
  }
  void setFault(const nlohmann::json& fault) {
    testing::directRequest("POST", server_->baseUrl() + "/_dev/faults", fault.dump(),
                           "application/json");
  }
  std::optional<KVError> ping() {
    std::optional<std::optional<KVError>> result;
    KVApi::pingWithCompletion([&result](auto error) { result = error; });
    return wait(result);
  }

  std::unique_ptr<testing::DevServerProcess> server_;
};

TEST_F(ReviewRoundTripTest, TheDebugLogOfASignInAndAPullHoldsNoSecret) {
  controller().setLog(true);
  controller().setDebug(true);
  ASSERT_EQ(signIn(), std::nullopt);
  const std::string access = session().accessToken().value_or("");
  const std::string refresh = session().token().value("refresh_token", "");
  // A restart reads the credentials back (and logs them), then a pull and a refresh.
  session().resetForTesting();
  session().loadSavedCredentials();
  chooseStep("review");
  ASSERT_EQ(pull(), std::nullopt);
  std::optional<std::optional<KVError>> refreshed;
  session().getTokenWithCode(refresh, true, [&refreshed](auto error) { refreshed = error; });
  ASSERT_EQ(wait(refreshed), std::nullopt);
  session().logOut();
  platform().queue.runUntil([] { return false; }, 0.3);

  const auto lines = platform().log.lines();
  std::string all;
  for (const auto& line : lines) all += line + "\n";
  ASSERT_FALSE(access.empty());
  ASSERT_FALSE(lastCode_.empty());
  EXPECT_THAT(all, HasSubstr("[redacted]"));
  for (const std::string& secret :
       {access, refresh, lastCode_, session().accessToken().value_or(access)}) {
    EXPECT_THAT(all, Not(HasSubstr(secret))) << secret;
  }
}

TEST_F(ReviewRoundTripTest, SignInPullEditSubmitRejectFileAnIssueAndSignOut) {
  EXPECT_TRUE(signIn("wrong").has_value());
  ASSERT_EQ(signIn(), std::nullopt);
  EXPECT_EQ(session().userId(), "user-1");
  EXPECT_EQ(session().userInfo()["name"], "Demo Reviewer");
  chooseStep("review");
  ASSERT_TRUE(controller().editionEnabled());

  // Published text, with the text pending in the review step over it.
  ASSERT_EQ(pull(), std::nullopt);
  EXPECT_EQ(shown("welcome.subtitle"), u"Chaque texte affiché peut être relu sur place.");
  EXPECT_EQ(shown("discount.label"), u"Économisez %1 aujourd'hui");
  EXPECT_TRUE(controller().localeStrings()->lastDownloadDate().has_value());

  // An edit uploaded into the review step comes back in the next export.
  auto edited = loaded("welcome.subtitle")->copy();
  auto form = edited->stringForPluralForm(std::nullopt, false);
  form->extractFormatFromString(kv_stringWithCues(u"Tout texte peut être relu."));
  std::optional<std::optional<KVWriteFailures>> saved;
  KVApi::saveStrings({{"welcome.subtitle", edited}},
                     [&saved](auto, auto failures, auto) { saved = failures; });
  const auto failures = wait(saved);
  ASSERT_TRUE(failures.has_value());
  EXPECT_TRUE(failures->empty());
  ASSERT_EQ(pull(), std::nullopt);
  EXPECT_EQ(shown("welcome.subtitle"), u"Tout texte peut être relu.");

  // Submitting from review publishes it; an unknown hash code is reported back.
  auto unknown = loaded("welcome.title")->copy();
  unknown->stringForPluralForm(std::nullopt, false)->uid = "9999";
  const auto failed = changeStatus(true, {loaded("welcome.subtitle"), unknown});
  ASSERT_EQ(failed.size(), 1u);
  EXPECT_EQ(failed[0], unknown);
  chooseStep("translation");
  ASSERT_EQ(pull(), std::nullopt);
  EXPECT_EQ(shown("welcome.subtitle"), u"Tout texte peut être relu.");  // now published

  // Rejecting from review sends the text back to translation.
  chooseStep("review");
  ASSERT_EQ(pull(), std::nullopt);
  const auto discount = loaded("discount.label");
  EXPECT_TRUE(changeStatus(false, {discount}).empty());
  chooseStep("translation");
  ASSERT_EQ(pull(), std::nullopt);
  EXPECT_EQ(shown("discount.label"), u"Économisez %1 aujourd'hui");  // pending in translation

  discount->rejectReason = u"WRONG_TERM";
  std::optional<std::optional<KVError>> issue;
  KVApi::createIssueForString(discount, [&issue](auto error) { issue = error; });
  EXPECT_EQ(wait(issue), std::nullopt);

  // After logout the refresh token is dead on the server too.
  const std::string refresh = session().token()["refresh_token"];
  session().logOut();
  platform().queue.runUntil([] { return false; }, 0.2);
  EXPECT_FALSE(session().isLoggedIn());
  std::optional<std::optional<KVError>> reused;
  KVApi::tokenWithCode(refresh, true, [&reused](auto error, auto) { reused = error; });
  const auto reuse = wait(reused);
  ASSERT_TRUE(reuse.has_value());
  EXPECT_EQ(reuse->code, 400);
}

TEST_F(ReviewRoundTripTest, LapsedTokenIsRefreshedAgainstTheServer) {
  ASSERT_EQ(signIn(), std::nullopt);
  const std::string first = *session().accessToken();
  platform().clock = platform().clock + 300;  // "expires" is now: lapsed
  EXPECT_EQ(ping(), std::nullopt);
  EXPECT_NE(*session().accessToken(), first);
  // The refreshed token was saved: a later launch picks it up.
  const std::string second = *session().accessToken();
  session().resetForTesting();
  EXPECT_TRUE(session().loadSavedCredentials());
  EXPECT_EQ(session().accessToken(), second);
}

TEST_F(ReviewRoundTripTest, ServerFailuresReachTheCallerAsClearErrors) {
  ASSERT_EQ(signIn(), std::nullopt);
  struct Case {
    nlohmann::json fault;
    std::string domain;
    long code;
    std::string description;
  };
  const std::vector<Case> cases = {
      {{{"status", 500}, {"body", R"({"response":{"code":"DOWN","errors":[{},{}]}})"}},
       "server",
       500,
       "2 errors"},
      {{{"status", 200}, {"body", "<html>busy</html>"}}, "json", 3840, ""},
      {{{"close", true}}, "network", 18, ""},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.fault.dump());
    setFault(each.fault);
    const auto error = ping();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->domain, each.domain);
    EXPECT_EQ(error->code, each.code);
    if (!each.description.empty()) {
      EXPECT_EQ(error->localizedDescription, each.description);
    }
  }
  testing::directRequest("DELETE", server_->baseUrl() + "/_dev/faults");

  // Refused hash codes fail the upload of those strings only.
  ASSERT_EQ(pull(), std::nullopt);
  chooseStep("review");
  setFault({{"failHashcodes", {"1002"}}});
  std::optional<std::optional<KVWriteFailures>> saved;
  KVApi::saveStrings({{"welcome.subtitle", loaded("welcome.subtitle")},
                      {"welcome.title", loaded("welcome.title")}},
                     [&saved](auto, auto failures, auto) { saved = failures; });
  const auto failures = wait(saved);
  ASSERT_TRUE(failures.has_value());
  EXPECT_EQ(failures->size(), 1u);
  EXPECT_TRUE(failures->count("welcome.subtitle"));

  // A download slower than its time-out fails; nothing half-written is left.
  setFault({{"delayMs", 1500}});
  std::optional<std::optional<KVError>> downloaded;
  const std::string file = folder() + "/slow.xlf";
  KVNetwork::downloadPath("/files-api/v2/projects/demo/locales/fr-FR/content/export",
                          {{"retrievalType", "PUBLISHED"}}, 0.3, file,
                          [&downloaded](auto error) { downloaded = error; });
  const auto slow = wait(downloaded);
  ASSERT_TRUE(slow.has_value());
  EXPECT_EQ(slow->code, 28);
  EXPECT_FALSE(platform().files.fileExists(file));

  // No server at all.
  server_->stop();
  const auto gone = ping();
  ASSERT_TRUE(gone.has_value());
  EXPECT_EQ(gone->domain, "network");
}

TEST_F(ReviewRoundTripTest, AnExpiredBearerTokenIsRefusedWithAnEnvelope) {
  session().setToken({{"access_token", "forged"},
                      {"expires", platform().now() + 60},
                      {"refresh_expires", platform().now() + 60}});
  const auto error = ping();
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, 401);
  EXPECT_EQ(error->localizedDescription, "1 errors");
}

TEST(DevServerTest, StateSurvivesARestartWithAFileAndBadRequestsGetEnvelopes) {
  const std::string db = ::testing::TempDir() + "devserver-restart.db";
  std::remove(db.c_str());
  {
    testing::DevServerProcess server({"--db", db});
    ASSERT_TRUE(server.running());
    const auto bad = testing::directRequest("POST", server.baseUrl() + "/_dev/faults", "{not json");
    EXPECT_EQ(bad.status, 400);
    EXPECT_THAT(bad.body, HasSubstr(R"("response")"));
    const auto missing = testing::directRequest("GET", server.baseUrl() + "/nowhere");
    EXPECT_EQ(missing.status, 404);
    EXPECT_THAT(missing.body, HasSubstr(R"("errors")"));
    const auto login = testing::directRequest(
        "POST", server.baseUrl() + kSignOnRealm + "/auth?redirect_uri=kolvane-test://login/",
        "username=reviewer&password=reviewer", "application/x-www-form-urlencoded");
    ASSERT_EQ(login.status, 302);
    const std::string code = login.location.substr(login.location.find("code=") + 5);
    const auto token = testing::directRequest(
        "POST", server.baseUrl() + kSignOnRealm + "/token",
        "grant_type=authorization_code&redirect_uri=kolvane-test://login/&code=" + code,
        "application/x-www-form-urlencoded");
    ASSERT_EQ(token.status, 200);
    const std::string refresh = nlohmann::json::parse(token.body)["refresh_token"];
    EXPECT_EQ(server.stop(), 0);

    testing::DevServerProcess again({"--db", db});
    ASSERT_TRUE(again.running());
    const auto refreshed = testing::directRequest(
        "POST", again.baseUrl() + kSignOnRealm + "/token",
        "grant_type=refresh_token&refresh_token=" + refresh, "application/x-www-form-urlencoded");
    EXPECT_EQ(refreshed.status, 200) << refreshed.body;
  }
  std::remove(db.c_str());
}

// The start of a PNG of `width` x `height`: its signature and header, all the server reads.
std::string pngHeader(std::uint32_t width, std::uint32_t height) {
  std::string png("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16);
  for (const std::uint32_t value : {width, height}) {
    for (int shift = 24; shift >= 0; shift -= 8) png += static_cast<char>((value >> shift) & 0xff);
  }
  return png + std::string("\x08\x02\0\0\0-crc", 9);
}

TEST_F(ReviewRoundTripTest, ACaptureSentToTheServerIsServedBackWithItsRegions) {
  ASSERT_EQ(signIn(), std::nullopt);
  std::optional<bool> takes;
  KVApi::projectTakesCaptures([&takes](auto, bool answer) { takes = answer; });
  ASSERT_TRUE(wait(takes));

  const std::string png = pngHeader(400, 300);
  const nlohmann::json regions = {
      {{"keys", {"welcome.title", "app.name"}},
       {"text", "Bienvenue dans Courrier"},
       {"x", 10},
       {"y", 20},
       {"width", 200},
       {"height", 30}},
      {{"keys", {"no.such.key"}}, {"text", "?"}, {"x", 0}, {"y", 0}, {"width", 5}, {"height", 5}}};
  std::optional<std::pair<std::optional<KVError>, std::size_t>> sent;
  KVApi::sendCapture(png, regions.dump(),
                     [&sent](auto error, std::size_t attached) { sent.emplace(error, attached); });
  const auto [error, attached] = wait(sent);
  ASSERT_EQ(error, std::nullopt);
  EXPECT_EQ(attached, 2u);  // the key the project does not have is left out

  std::optional<nlohmann::json> served;
  KVNetwork::getPath("/kolvane-api/v1/projects/demo/locales/fr-FR/captures", true, KVServerApi,
                     {{"key", "app.name"}},
                     [&served](auto, nlohmann::json answer) { served = std::move(answer); });
  const nlohmann::json captures = wait(served)["response"]["data"]["captures"];
  ASSERT_EQ(captures.size(), 1u);
  EXPECT_EQ(captures[0]["width"], 400);
  EXPECT_EQ(captures[0]["height"], 300);
  ASSERT_EQ(captures[0]["regions"].size(), 1u);
  EXPECT_EQ(captures[0]["regions"][0]["text"], "Bienvenue dans Courrier");
  EXPECT_EQ(captures[0]["regions"][0]["x"], 10);
  EXPECT_EQ(captures[0]["regions"][0]["width"], 200);
  const auto image =
      testing::directRequest("GET", server_->baseUrl() + captures[0]["image"].get<std::string>(),
                             {}, {}, {"Authorization: Bearer " + *session().accessToken()});
  EXPECT_EQ(image.status, 200);
  EXPECT_EQ(image.body, png);
}

}  // namespace
}  // namespace kolvane
