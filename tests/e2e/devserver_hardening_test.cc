// The dev server under hostile clients: where sign-on codes may go and how often they are
// redeemed, what an upload may store, and slow or oversized requests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "support/devserver_process.h"

namespace kolvane {
namespace {

using testing::directRequest;
using ::testing::HasSubstr;

constexpr const char* kRealm = "/auth/realms/Kolvane/protocol/openid-connect";
constexpr const char* kForm = "application/x-www-form-urlencoded";

class DevServerHardeningTest : public ::testing::Test {
 protected:
  std::string url(const std::string& path) const { return server_.baseUrl() + path; }
  testing::DirectAnswer signIn(const std::string& redirect) {
    return directRequest("POST", url(std::string(kRealm) + "/auth?redirect_uri=" + redirect),
                         "username=reviewer&password=reviewer", kForm);
  }
  std::string code() {
    const auto answer = signIn("kolvane-test://login/");
    return answer.location.substr(answer.location.find("code=") + 5);
  }
  std::string accessToken() {
    const auto answer = directRequest("POST", url(std::string(kRealm) + "/token"),
                                      "grant_type=authorization_code&code=" + code(), kForm);
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

TEST_F(DevServerHardeningTest, CodesGoOnlyToTheAppSchemeOrALoopbackAddress) {
  EXPECT_EQ(signIn("kolvane-test://login/").status, 302);
  const auto loopback = signIn("http://127.0.0.1:51234/callback");
  EXPECT_EQ(loopback.status, 302);
  EXPECT_THAT(loopback.location, ::testing::StartsWith("http://127.0.0.1:51234/callback?code="));
  for (const char* refused :
       {"https://evil.example/", "x://login/", "http://127.0.0.1.evil.example/",
        "http://127.0.0.1:/", "kolvane-test://a%0d%0aSet-Cookie:%20x", ""}) {
    const auto answer = signIn(refused);
    EXPECT_EQ(answer.status, 400) << refused;
    EXPECT_EQ(answer.location, "") << refused;
  }
}

TEST_F(DevServerHardeningTest, ACodeAskedWithAChallengeNeedsItsVerifier) {
  // The example of RFC 7636, appendix B.
  const std::string verifier = "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk";
  const std::string challenge = "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM";
  const auto askCode = [&](const std::string& method) {
    const auto answer = signIn("http://127.0.0.1:5000/&code_challenge=" + challenge +
                               "&code_challenge_method=" + method);
    return answer.location.substr(answer.location.find("code=") + 5);
  };
  const auto redeem = [&](const std::string& code, const std::string& withVerifier) {
    return directRequest("POST", url(std::string(kRealm) + "/token"),
                         "grant_type=authorization_code&code=" + code + withVerifier, kForm)
        .status;
  };
  EXPECT_EQ(
      signIn("http://127.0.0.1:5000/&code_challenge=" + challenge + "&code_challenge_method=plain")
          .status,
      400);
  EXPECT_EQ(redeem(askCode("S256"), ""), 400);
  EXPECT_EQ(redeem(askCode("S256"), "&code_verifier=" + verifier + "x"), 400);
  EXPECT_EQ(redeem(askCode("S256"), "&code_verifier=" + verifier), 200);
  EXPECT_EQ(redeem(code(), ""), 200);  // no challenge, no verifier
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
  std::atomic<int> granted{0};
  std::vector<std::thread> askers;
  for (int i = 0; i < 8; ++i) {
    askers.emplace_back([&] {
      const auto answer = directRequest("POST", url(std::string(kRealm) + "/token"),
                                        "grant_type=authorization_code&code=" + once, kForm);
      if (answer.status == 200) ++granted;
    });
  }
  for (auto& asker : askers) asker.join();
  EXPECT_EQ(granted.load(), 1);
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
              HasSubstr("<source>You have <ph id=\"1\">%ld</ph> new message</source>"));
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

  const auto huge = directRequest("POST", url("/nowhere"), std::string(20u << 20, 'x'), kForm);
  EXPECT_EQ(huge.status, 413);
  EXPECT_THAT(huge.body, HasSubstr("TOO_LARGE"));
}

}  // namespace
}  // namespace kolvane
