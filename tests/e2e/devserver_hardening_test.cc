// The dev server under hostile clients: where sign-on codes may go, what binds them and how often
// they are redeemed, what an upload may store, and slow, oversized or deeply nested requests.
#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <thread>

#include "support/devserver_process.h"

namespace kolvane {
namespace {

using testing::directRequest;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

using testing::kFormType;
using testing::kSignOnRealm;
constexpr const char* kAppRedirect = "kolvane-test://login/";

// The example of RFC 7636, appendix B.
constexpr const char* kVerifier = "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk";
constexpr const char* kChallenge = "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM";

// The "error" of an OAuth error answer; empty for any other answer.
std::string errorOf(const testing::DirectAnswer& answer) {
  const auto body = nlohmann::json::parse(answer.body, nullptr, false);
  return body.is_object() ? body.value("error", "") : "";
}

// Where the sign-in page's form posts to, as a browser reads it.
std::string formAction(const std::string& page) {
  const std::size_t start = page.find("action=\"");
  if (start == std::string::npos) return "";
  std::string action = page.substr(start + 8, page.find('"', start + 8) - start - 8);
  for (std::size_t at; (at = action.find("&amp;")) != std::string::npos;) action.erase(at + 1, 4);
  return action;
}

// The decoded value of a parameter in a URL's query.
std::optional<std::string> queryValue(const std::string& url, const std::string& name) {
  std::smatch match;
  if (!std::regex_search(url, match, std::regex("[?&]" + name + "=([^&]*)"))) return std::nullopt;
  char* decoded = curl_unescape(match.str(1).c_str(), 0);
  std::string value = decoded;
  curl_free(decoded);
  return value;
}

class DevServerHardeningTest : public ::testing::Test {
 protected:
  std::string url(const std::string& path) const { return server_.baseUrl() + path; }
  // Posts the sign-in form; `query` is the authorisation request's, starting at the redirect.
  testing::DirectAnswer signIn(const std::string& query) {
    return directRequest("POST", url(std::string(kSignOnRealm) + "/auth?redirect_uri=" + query),
                         "username=reviewer&password=reviewer", kFormType);
  }
  std::string codeFor(const std::string& query) {
    return queryValue(signIn(query).location, "code").value_or("");
  }
  std::string code() { return codeFor(kAppRedirect); }
  testing::DirectAnswer exchange(const std::string& code, const std::string& parameters) {
    return directRequest("POST", url(std::string(kSignOnRealm) + "/token"),
                         "grant_type=authorization_code&code=" + code + parameters, kFormType);
  }
  std::string accessToken() {
    const auto answer = exchange(code(), std::string("&redirect_uri=") + kAppRedirect);
    return nlohmann::json::parse(answer.body).at("access_token");
  }
  testing::DirectAnswer upload(const std::string& xliff) {
    const std::string body =
        "--B\r\nContent-Disposition: form-data; name=\"file\"; filename=\"u.xlf\"\r\n"
        "Content-Type: application/xml\r\n\r\n" +
        xliff + "\r\n--B--\r\n";
    return directRequest("POST", url("/files-api/v2/projects/demo/locales/fr-FR/content/import"),
                         body, "multipart/form-data; boundary=B",
                         {"Authorization: Bearer " + accessToken()});
  }
  std::string exported(
      const std::string& query = "retrievalType=PENDING&workflowStepUids[0]=review") {
    return directRequest("GET",
                         url("/files-api/v2/projects/demo/locales/fr-FR/content/export?" + query),
                         {}, {}, {"Authorization: Bearer " + accessToken()})
        .body;
  }

  testing::DevServerProcess server_;
};

TEST_F(DevServerHardeningTest, CodesGoOnlyToTheAppSchemeOrALoopbackPortThatExists) {
  EXPECT_EQ(signIn(kAppRedirect).status, 302);
  for (const std::string port : {"1", "51234", "65535"}) {
    const auto loopback = signIn("http://127.0.0.1:" + port + "/callback");
    EXPECT_EQ(loopback.status, 302) << port;
    EXPECT_THAT(loopback.location, StartsWith("http://127.0.0.1:" + port + "/callback?code="));
  }
  for (const char* refused :
       {"https://evil.example/", "x://login/", "http://127.0.0.1.evil.example/",
        "http://127.0.0.1:/", "http://127.0.0.1:0/", "http://127.0.0.1:65536/",
        "http://127.0.0.1:99999/", "http://127.0.0.1:123456/", "http://127.0.0.1:80x/",
        "kolvane-test://login/%23fragment", "kolvane-test://a%0d%0aSet-Cookie:%20x", ""}) {
    const auto answer = signIn(refused);
    EXPECT_EQ(answer.status, 400) << refused;
    EXPECT_EQ(answer.location, "") << refused;
    EXPECT_EQ(errorOf(answer), "invalid_request") << refused;
  }
  const auto page = directRequest(
      "GET", url(std::string(kSignOnRealm) + "/auth?redirect_uri=http://127.0.0.1:99999/"));
  EXPECT_EQ(page.status, 400);
  EXPECT_THAT(page.body, Not(HasSubstr("<form")));
}

TEST_F(DevServerHardeningTest, TheStateOfTheSignOnRequestComesBackOnEveryRedirect) {
  const std::string state = "a b&c=d/\xc3\xa9+%";
  const std::string encoded = "a%20b%26c%3Dd%2F%C3%A9%2B%25";
  // As a browser goes: the page, a wrong password, then the right one, each through the form.
  const auto page = directRequest(
      "GET",
      url(std::string(kSignOnRealm) + "/auth?redirect_uri=" + kAppRedirect + "&state=" + encoded));
  ASSERT_EQ(page.status, 200);
  const std::string action = formAction(page.body);
  const auto wrong =
      directRequest("POST", url(action), "username=reviewer&password=wrong", kFormType);
  EXPECT_EQ(wrong.status, 401);
  EXPECT_EQ(formAction(wrong.body), action);
  const auto right =
      directRequest("POST", url(action), "username=reviewer&password=reviewer", kFormType);
  EXPECT_EQ(queryValue(right.location, "state"), state);
  EXPECT_NE(queryValue(right.location, "code").value_or(""), "");

  // Asks that cannot get a code go back to the app with the error, and the state too.
  for (const std::string& ask :
       {std::string("&code_challenge=") + kChallenge + "&code_challenge_method=plain",
        std::string("&code_challenge=") + kChallenge, std::string("&code_challenge=short"),
        std::string("&code_challenge_method=S256"), std::string("&response_type=token")}) {
    const auto refused = signIn(std::string(kAppRedirect) + "&state=" + encoded + ask);
    EXPECT_EQ(refused.status, 302) << ask;
    EXPECT_THAT(queryValue(refused.location, "error").value_or(""),
                ::testing::AnyOf("invalid_request", "unsupported_response_type"))
        << ask;
    EXPECT_EQ(queryValue(refused.location, "state"), state) << ask;
    EXPECT_EQ(queryValue(refused.location, "code"), std::nullopt) << ask;
  }
  EXPECT_EQ(queryValue(signIn(kAppRedirect).location, "state"), std::nullopt);
}

TEST_F(DevServerHardeningTest, ACodeIsExchangedOnlyWithTheVerifierItWasAskedWith) {
  const std::string loopback = "http://127.0.0.1:5000/";
  const std::string withChallenge =
      loopback + "&code_challenge=" + kChallenge + "&code_challenge_method=S256";
  const std::string back = "&redirect_uri=" + loopback;
  const auto refusal = [&](const std::string& ask, const std::string& verifier) {
    return errorOf(exchange(codeFor(ask), back + verifier));
  };
  EXPECT_EQ(refusal(withChallenge, ""), "invalid_grant");
  EXPECT_EQ(refusal(withChallenge, "&code_verifier=" + std::string(43, 'a')), "invalid_grant");
  // A code asked for without a challenge must not pass as a PKCE one.
  EXPECT_EQ(refusal(loopback, std::string("&code_verifier=") + kVerifier), "invalid_grant");
  for (const std::string& malformed :
       {std::string(1, 'a'), std::string(42, 'a'), std::string(129, 'a'), std::string(1000, 'a'),
        std::string(42, 'a') + "%2B", std::string(42, 'a') + "%3D", std::string(42, 'a') + "%20",
        std::string(42, 'a') + "%C3%A9", std::string()}) {
    EXPECT_EQ(refusal(withChallenge, "&code_verifier=" + malformed), "invalid_request")
        << malformed;
  }
  EXPECT_EQ(exchange(codeFor(withChallenge), back + "&code_verifier=" + kVerifier).status, 200);
  EXPECT_EQ(exchange(codeFor(loopback), back).status, 200);
}

TEST_F(DevServerHardeningTest, ACodeIsExchangedOnlyByItsClientForItsRedirect) {
  const std::string asked = std::string(kAppRedirect) + "&client_id=ios-sdk";
  const std::string back = std::string("&redirect_uri=") + kAppRedirect;
  for (const std::string& wrong :
       {std::string("&client_id=ios-sdk"), std::string("&client_id=ios-sdk&redirect_uri=x://y/"),
        std::string("&client_id=ios-sdk&redirect_uri="), back, back + "&client_id=other"}) {
    const auto refused = exchange(codeFor(asked), wrong);
    EXPECT_EQ(refused.status, 400) << wrong;
    const auto body = nlohmann::json::parse(refused.body, nullptr, false);
    EXPECT_EQ(body.value("error", ""), "invalid_grant") << wrong;
    EXPECT_NE(body.value("error_description", ""), "") << wrong;
  }
  EXPECT_EQ(exchange(codeFor(asked), back + "&client_id=ios-sdk").status, 200);
  // An authorisation request that named no client binds none.
  EXPECT_EQ(exchange(codeFor(kAppRedirect), back + "&client_id=anyone").status, 200);
  EXPECT_EQ(errorOf(exchange("no-such-code", back)), "invalid_grant");
  EXPECT_EQ(errorOf(directRequest("POST", url(std::string(kSignOnRealm) + "/token"),
                                  "grant_type=password&username=reviewer", kFormType)),
            "unsupported_grant_type");
}

TEST(DevServerOptionsTest, FaultRoutesExistOnlyWhenStartedForTests) {
  testing::DevServerProcess plain({}, /*forTests=*/false);
  ASSERT_TRUE(plain.running());
  const auto fault = directRequest("POST", plain.baseUrl() + "/_dev/faults", R"({"status": 500})",
                                   "application/json");
  EXPECT_EQ(fault.status, 404);
  EXPECT_THAT(fault.body, HasSubstr("NOT_FOUND"));
  EXPECT_EQ(directRequest("GET", plain.baseUrl() + "/auth-api/v2/ping").status, 401);
}

TEST_F(DevServerHardeningTest, ACodeIsRedeemedOnceHoweverManyAskAtOnce) {
  const std::string once = code();
  ASSERT_FALSE(once.empty());
  std::atomic<int> granted{0};
  std::vector<std::string> answers(8);
  std::vector<std::thread> askers;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    askers.emplace_back([&, i] {
      const auto answer = exchange(once, std::string("&redirect_uri=") + kAppRedirect);
      if (answer.status == 200) ++granted;
      answers[i] = std::to_string(answer.status) + " " + answer.body.substr(0, 80);
    });
  }
  for (auto& asker : askers) asker.join();
  EXPECT_EQ(granted.load(), 1) << ::testing::PrintToString(answers);
}

TEST_F(DevServerHardeningTest, UploadsStoreTextNotMarkupOfTheirOwn) {
  const std::string dtd =
      "<?xml version=\"1.0\"?><!DOCTYPE x [<!ENTITY e \"boom\">]><xliff><file><body>"
      "<trans-unit id=\"1001\" phase-name=\"review\"><target>&e;</target></trans-unit>"
      "</body></file></xliff>";
  EXPECT_EQ(upload(dtd).status, 400);

  const std::string foreign =
      "<xliff xmlns:k=\"urn:k\"><file><body><trans-unit id=\"1001\" phase-name=\"review\">"
      "<target>Salut <k:b>tout</k:b> &amp; <ph id=\"1\" k:x=\"y\">%@</ph></target>"
      "</trans-unit></body></file></xliff>";
  ASSERT_EQ(upload(foreign).status, 200);
  const std::string pending = exported();
  EXPECT_THAT(pending, HasSubstr("<target>Salut tout &amp; <ph id=\"1\">%@</ph></target>"));
  EXPECT_THAT(pending, ::testing::Not(HasSubstr("k:")));

  // Placeholders in XLIFF's own namespace, as real files have them, stay placeholders.
  const std::string namespaced =
      "<xliff xmlns=\"urn:oasis:names:tc:xliff:document:1.2\" version=\"1.2\"><file><body>"
      "<trans-unit id=\"1001\" phase-name=\"review\"><target>Hé <ph id=\"1\">%@</ph></target>"
      "</trans-unit></body></file></xliff>";
  ASSERT_EQ(upload(namespaced).status, 200);
  EXPECT_THAT(exported(), HasSubstr("<target>Hé <ph id=\"1\">%@</ph></target>"));
  EXPECT_THAT(exported("retrievalType=PUBLISHED"),
              HasSubstr("<source>You have <ph id=\"1\">%n</ph> new message</source>"));
}

TEST_F(DevServerHardeningTest, DeepOrHugeBodiesAreRefusedAndTheServerStaysUp) {
  const std::string bearer = "Authorization: Bearer " + accessToken();
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  const auto issue = [&](const std::string& body) {
    return directRequest("POST", url("/issues-api/v2/projects/demo/issues"), body,
                         "application/json", {bearer});
  };
  // Inside the issue's object: 128 levels in all, the most a body may have, then one more.
  EXPECT_EQ(issue(R"({"string": )" + nested(127) + "}").status, 200);
  EXPECT_THAT(issue(R"({"string": )" + nested(128) + "}").body, HasSubstr("TOO_DEEP"));
  const auto deep = issue(R"({"string": )" + nested(100'000) + "}");
  EXPECT_EQ(deep.status, 400);
  EXPECT_THAT(deep.body, HasSubstr("TOO_DEEP"));
  const auto submission = directRequest(
      "PUT", url("/workflows-strings-api/v2/projects/demo/submittedStrings"),
      R"({"localeId": "fr-FR", "strings": )" + nested(100'000) + "}", "application/json", {bearer});
  EXPECT_THAT(submission.body, HasSubstr("TOO_DEEP"));
  const auto huge = issue(R"({"string": ")" + std::string(5u << 20, 'x') + "\"}");
  EXPECT_EQ(huge.status, 413);
  EXPECT_THAT(huge.body, HasSubstr("TOO_LARGE"));

  const auto state = directRequest("GET", url("/_dev/state?project=demo&locale=fr-FR"));
  ASSERT_EQ(state.status, 200);
  EXPECT_EQ(nlohmann::json::parse(state.body).at("issues").size(), 1u);
}

TEST_F(DevServerHardeningTest, SlowAndHugeRequestsLeaveOthersServed) {
  // Eight clients that open a request and then trickle.
  std::vector<int> slow;
  for (int i = 0; i < 8; ++i) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(
        std::stoi(server_.baseUrl().substr(server_.baseUrl().rfind(':') + 1))));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::send(fd, "G", 1, 0), 1);
    slow.push_back(fd);
  }
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(directRequest("GET", url("/nowhere")).status, 404);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
  for (int fd : slow) ::close(fd);

  const auto huge = directRequest("POST", url("/nowhere"), std::string(20u << 20, 'x'), kFormType);
  EXPECT_EQ(huge.status, 413);
  EXPECT_THAT(huge.body, HasSubstr("TOO_LARGE"));
}

}  // namespace
}  // namespace kolvane
