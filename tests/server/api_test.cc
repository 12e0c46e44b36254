// The API client's calls with the server answered by a script: what each sends, what it reads
// back, its caching and its failure lists.
#include "server/api.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/main_controller.h"
#include "core/workflow_step.h"
#include "server/server_url.h"
#include "support/reviewer_fixture.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

std::shared_ptr<KVStringGroup> group(const std::string& key, const std::string& uid) {
  auto string = std::make_shared<KVString>();
  string->key = key;
  string->uid = uid;
  string->extractFormatFromString(u"text of " + std::u16string(key.begin(), key.end()));
  auto made = std::make_shared<KVStringGroup>();
  made->key = key;
  made->addStringForm(string);
  return made;
}

class ApiTest : public testing::ReviewerTest {
 protected:
  void SetUp() override {
    ReviewerTest::SetUp();
    platform().defaults.setObject("KVLocale", "fr_FR");
    KVMainController::sharedInstance().startWithProjectId("proj", nullptr);
    logIn();
    auto step = std::make_shared<KVWorkflowStep>();
    step->uid = "step-1";
    KVMainController::sharedInstance().setWorkflowStep(step);
  }
  void answer(int status, nlohmann::json body) {
    platform().transport.answer = [status, body](const HttpRequest&) {
      HttpResponse response;
      response.status = status;
      response.body = body.is_null() ? "" : body.dump();
      return response;
    };
  }
  static nlohmann::json data(nlohmann::json payload) {
    return {{"response", {{"code", "SUCCESS"}, {"data", std::move(payload)}}}};
  }
  std::vector<HttpRequest>& sent() { return platform().transport.sent; }
  KVGroupList setStatus(const KVGroupList& strings) {
    KVGroupList failed{nullptr};
    KVApi::submitStrings(
        strings, [&failed](KVGroupList result, KVRefusalReasons) { failed = std::move(result); });
    platform().queue.runAll();
    return failed;
  }
};

TEST_F(ApiTest, TokenAnswersNeedLifetimesAndAnAccessToken) {
  std::optional<KVError> error;
  nlohmann::json token;
  const auto exchange = [&] {
    KVApi::tokenWithCode("c", true, [&](std::optional<KVError> e, nlohmann::json t) {
      error = std::move(e);
      token = std::move(t);
    });
    platform().queue.runAll();
  };
  answer(200, {{"access_token", "a"}, {"expires_in", 300}, {"refresh_expires_in", 1800}});
  exchange();
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(token["expires"], platform().now() + 300);
  EXPECT_EQ(token["refresh_expires"], platform().now() + 1800);
  EXPECT_EQ(sent().back().body,
            "client_id=ios-sdk&redirect_uri=kolvane%3A%2F%2Flogin%2F&grant_type=refresh_token"
            "&refresh_token=c");

  answer(200, {{"access_token", "a"}, {"expires_in", 300}});
  exchange();
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain, "auth");
  EXPECT_EQ(error->code, 500);
  EXPECT_EQ(error->localizedDescription, "Wrong token format");
  EXPECT_TRUE(token.is_null());
}

TEST_F(ApiTest, ProjectDataIsCachedInTheSessionUntilForced) {
  answer(200, data({{"name", "P"}}));
  nlohmann::json info;
  for (bool force : {false, false, true}) {
    KVApi::projectInfoForce(force, [&info](auto, nlohmann::json value) { info = value; });
    platform().queue.runAll();
  }
  EXPECT_EQ(info, (nlohmann::json{{"name", "P"}}));
  EXPECT_EQ(sent().size(), 2u);
  EXPECT_THAT(sent()[0].url, EndsWith("/projects-api/v2/projects/proj"));

  answer(
      200,
      data({{"items",
             {{{"workflowName", "W"},
               {"workflowUid", "w"},
               {"workflowSteps", {{{"workflowStepUid", "s1"}}, {{"workflowStepUid", "s2"}}}}}}}}));
  KVWorkflowSteps steps;
  KVApi::projectWorkflowsForce(false, [&steps](auto, KVWorkflowSteps got) { steps = got; });
  platform().queue.runAll();
  ASSERT_EQ(steps.size(), 2u);
  EXPECT_EQ(steps[1]->uid, "s2");
  EXPECT_EQ(KVSession::sharedInstance().workflows()->size(), 2u);
}

TEST_F(ApiTest, StatusChangesSendKnownStringsAndReportFailures) {
  EXPECT_THAT(setStatus({}), IsEmpty());
  EXPECT_TRUE(sent().empty());

  // Strings the server does not know are left out of the request, and come back as failed, so
  // that the decision on them stays on the device.
  answer(200, data({{"failures", nlohmann::json::array()}}));
  const auto unknown = group("no.uid", "");
  EXPECT_THAT(setStatus({unknown}), ElementsAre(unknown));
  EXPECT_EQ(sent().back().method, "PUT");
  EXPECT_THAT(sent().back().url,
              EndsWith("/workflows-strings-api/v2/projects/proj/submittedStrings"));
  EXPECT_EQ(sent().back().body, R"({"localeId":"fr-FR","strings":[]})");

  const auto a = group("a", "h1");
  const auto b = group("b", "h2");
  answer(200, data({{"failures", {{{"hashcode", "h2"}, {"reason", "no"}}, {{"hashcode", "zz"}}}}}));
  EXPECT_THAT(setStatus({a, b}), ElementsAre(b));
  EXPECT_EQ(sent().back().body,
            R"({"localeId":"fr-FR","strings":[{"currentWorkflowStepUid":"step-1","hashcode":"h1"},)"
            R"({"currentWorkflowStepUid":"step-1","hashcode":"h2"}]})");

  answer(500, nullptr);  // the call itself failed: every string failed
  EXPECT_THAT(setStatus({a, b}), ElementsAre(a, b));
}

TEST_F(ApiTest, SaveUploadsAFileAndReportsFailuresByKey) {
  std::optional<KVWriteFailures> failures;
  std::optional<KVError> error;
  bool called = false;
  const auto save = [&](const KVStringGroups& strings) {
    called = false;
    KVApi::saveStrings(strings, [&](std::optional<KVError> failed,
                                    std::optional<KVWriteFailures> result, KVRefusalReasons) {
      called = true;
      error = std::move(failed);
      failures = std::move(result);
    });
    platform().queue.runAll();
  };
  save({});
  EXPECT_TRUE(called);
  EXPECT_EQ(failures, std::nullopt);  // nothing to send: none, not an empty dictionary

  const KVStringGroups strings = {{"a", group("a", "h1")}, {"b", group("b", "h2")}};
  answer(200,
         data({{"translationImportErrors", {{{"stringHashCode", "h2"}, {"messages", {"x"}}}}}}));
  save(strings);
  ASSERT_TRUE(failures.has_value());
  EXPECT_EQ(error, std::nullopt);  // some strings refused is no error of the call
  EXPECT_EQ(failures->size(), 1u);
  EXPECT_TRUE(failures->count("b"));
  EXPECT_THAT(sent().back().url,
              EndsWith("/files-api/v2/projects/proj/locales/fr-FR/content/import"));
  EXPECT_THAT(sent().back().body, ::testing::HasSubstr("filename=\"saveFile.xlf\""));
  EXPECT_FALSE(
      platform().files.fileExists(KVMainController::kolvaneFilesFolder() + "/saveFile.xlf"));

  answer(401, nullptr);
  save(strings);
  EXPECT_EQ(failures->size(), 2u);
  EXPECT_TRUE(error.has_value());
}

TEST_F(ApiTest, IssuesNeedAHashCode) {
  std::optional<KVError> error;
  KVApi::createIssueForString(group("a", ""), [&error](auto e) { error = e; });
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain, "app");
  EXPECT_EQ(error->localizedDescription, "No hashcode for this string");
  EXPECT_TRUE(sent().empty());

  answer(200, data({}));
  const auto string = group("a", "h1");
  string->rejectReason = u"WRONG_TERM";
  error = KVError{};
  KVApi::createIssueForString(string, [&error](auto e) { error = e; });
  platform().queue.runAll();
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(sent().back().body,
            R"({"string":{"hashcode":"h1","localeId":"fr-FR"},"issueText":"",)"
            R"("issueSubTypeCode":"WRONG_TERM","issueTypeCode":"TRANSLATION"})");
}

TEST_F(ApiTest, AnUnknownEnvironmentHasNoServerToCall) {
  KVServerUrl::setEnvironment(5);
  std::optional<KVError> error;
  KVApi::pingWithCompletion([&error](auto e) { error = e; });
  platform().queue.runAll();
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain, "network");
  EXPECT_TRUE(sent().empty());
}

}  // namespace
}  // namespace kolvane
