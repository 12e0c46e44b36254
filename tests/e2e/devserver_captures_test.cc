// The dev server's captures: window screenshots with the rectangles of the strings in them,
// stored per locale, served back by key and shown on a page to the project's users only; what
// is malformed is refused whole and what is past the bounds goes.
#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "strings/base64.h"
#include "support/devserver_process.h"

namespace kolvane {
namespace {

using testing::directRequest;
using ::testing::HasSubstr;
using ::testing::Not;

using testing::kFormType;
using testing::kSignOnRealm;
constexpr const char* kCaptures = "/kolvane-api/v1/projects/demo/locales/fr-FR/captures";
constexpr const char* kPage = "/kolvane/projects/demo/locales/fr-FR/captures";

// A second project, whose only user is no user of the demo project.
constexpr const char* kOtherProject = R"({"id": "other", "name": "Other", "sourceLocale": "en",
  "locales": ["en"], "users": [{"username": "outsider", "password": "outsider"}],
  "workflows": [{"workflowUid": "w", "workflowName": "W",
                 "steps": [{"uid": "published", "name": "Published", "class": "PUBLISHED"}]}]})";

std::string bigEndian(std::uint32_t value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
          static_cast<char>(value >> 8), static_cast<char>(value)};
}

// A PNG's signature and header chunk, which is all the server reads, then `rest`.
std::string png(std::uint32_t width, std::uint32_t height, const std::string& rest = "IEND") {
  return std::string("\x89PNG\r\n\x1a\n", 8) + bigEndian(13) + "IHDR" + bigEndian(width) +
         bigEndian(height) + std::string("\x08\x02\0\0\0", 5) + bigEndian(0) + rest;
}

std::string region(const std::string& keys, double x, double y, double width, double height,
                   const std::string& text = "shown") {
  return nlohmann::json{{"keys", nlohmann::json::parse(keys)},
                        {"text", text},
                        {"x", x},
                        {"y", y},
                        {"width", width},
                        {"height", height}}
      .dump();
}

std::string listOf(const std::vector<std::string>& regions) {
  std::string list;
  for (const std::string& each : regions) list += (list.empty() ? "" : ",") + each;
  return "[" + list + "]";
}

std::string part(const std::string& name, const std::string& fileName, const std::string& content) {
  return "--KolvaneCapture\r\nContent-Disposition: form-data; name=\"" + name + "\"" +
         (fileName.empty() ? "" : "; filename=\"" + fileName + "\"") + "\r\n\r\n" + content +
         "\r\n";
}

// The answer's JSON at `pointer`; an empty object when there is none.
nlohmann::json fieldOf(const testing::DirectAnswer& answer, const char* pointer) {
  const auto body = nlohmann::json::parse(answer.body, nullptr, false);
  const nlohmann::json::json_pointer at(pointer);
  return !body.is_discarded() && body.contains(at) ? body[at] : nlohmann::json::object();
}
nlohmann::json dataOf(const testing::DirectAnswer& answer) {
  return fieldOf(answer, "/response/data");
}
nlohmann::json codeOf(const testing::DirectAnswer& answer) {
  return fieldOf(answer, "/response/code");
}

class DevServerCapturesTest : public ::testing::Test {
 protected:
  // The demo project is loaded on a first start with an empty database, the other one on a
  // second start: one server then holds both.
  void SetUp() override {
    folder_ = std::filesystem::path(::testing::TempDir()) /
              ("kolvane-captures-" + std::to_string(::getpid()));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_ / "other");
    std::ofstream(folder_ / "other/project.json") << kOtherProject;
    std::ofstream(folder_ / "other/en.xlf") << "<xliff><file><body/></file></xliff>";
    const std::string db = (folder_ / "state.db").string();
    testing::DevServerProcess first({"--db", db});
    ASSERT_TRUE(first.running());
    // Stopped as soon as it says it listens, before it may even run: it stops all the same.
    ASSERT_EQ(first.stop(), 0);
    server_.emplace(std::vector<std::string>{"--db", db, "--seed", (folder_ / "other").string()});
    ASSERT_TRUE(server_->running());
    token_ = tokenOf("reviewer");
  }
  void TearDown() override {
    server_.reset();
    std::filesystem::remove_all(folder_);
  }

  std::string url(const std::string& path) const { return server_->baseUrl() + path; }
  // Signs in on the form, its password its name, and exchanges the code.
  std::string tokenOf(const std::string& user) {
    const auto form = directRequest(
        "POST", url(std::string(kSignOnRealm) + "/auth?redirect_uri=kolvane-test://login/"),
        "username=" + user + "&password=" + user, kFormType);
    const auto tokens =
        directRequest("POST", url(std::string(kSignOnRealm) + "/token"),
                      "grant_type=authorization_code&redirect_uri=kolvane-test://login/&code=" +
                          form.location.substr(form.location.find("code=") + 5),
                      kFormType);
    return nlohmann::json::parse(tokens.body, nullptr, false).value("access_token", "");
  }
  testing::DirectAnswer send(const std::optional<std::string>& image,
                             const std::optional<std::string>& regions,
                             const std::string& path = kCaptures) {
    std::string body = image ? part("file", "capture.png", *image) : "";
    if (regions) body += part("regions", "", *regions);
    return directRequest("POST", url(path), body + "--KolvaneCapture--\r\n",
                         "multipart/form-data; boundary=KolvaneCapture", bearer());
  }
  testing::DirectAnswer get(const std::string& path) {
    return directRequest("GET", url(path), {}, {}, bearer());
  }
  std::vector<std::string> bearer() const { return {"Authorization: Bearer " + token_}; }
  int storedCaptures(const std::string& locale = "fr-FR") {
    const auto state = directRequest("GET", url("/_dev/state?project=demo&locale=" + locale));
    return nlohmann::json::parse(state.body, nullptr, false).value("captures", -1);
  }
  // What a browser sends: no token, a name and password once its user has given them.
  std::vector<std::string> basic(const std::string& credentials) const {
    if (credentials.empty()) return {};
    return {"Authorization: Basic " + kv_base64EncodedString(credentials).value_or("")};
  }
  testing::DirectAnswer browse(const std::string& path, const std::string& credentials = "") {
    return directRequest("GET", url(path), {}, {}, basic(credentials));
  }
  // A header of the answer to a browser's request; empty when it has none.
  std::string headerOf(const std::string& path, const char* name,
                       const std::string& credentials = "") {
    CURL* easy = curl_easy_init();
    curl_slist* headers = nullptr;
    for (const std::string& header : basic(credentials)) {
      headers = curl_slist_append(headers, header.c_str());
    }
    curl_easy_setopt(easy, CURLOPT_URL, url(path).c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    curl_header* found = nullptr;
    const bool answered = curl_easy_perform(easy) == CURLE_OK &&
                          curl_easy_header(easy, name, 0, CURLH_HEADER, -1, &found) == CURLHE_OK;
    std::string value = answered ? found->value : "";
    curl_slist_free_all(headers);
    curl_easy_cleanup(easy);
    return value;
  }

  std::filesystem::path folder_;
  std::optional<testing::DevServerProcess> server_;
  std::string token_;
};

TEST_F(DevServerCapturesTest, ACaptureIsServedBackByKeyWithItsRegionsClipped) {
  EXPECT_EQ(dataOf(get("/projects-api/v2/projects/demo"))["kolvaneExtensions"],
            nlohmann::json::array({"captures"}));
  const std::string image = png(40, 30, std::string("IDAT\0\xff\x01", 7));
  const auto stored = send(
      image,
      listOf({region(R"(["welcome.title", "no.such.key", "welcome.title"])", -5, 2.5, 20, 100,
                     "Bienvenue"),
              region(R"(["tab.sent"])", 40, 0, 5, 5), region(R"(["app.name"])", 10, 10, 0, 4)}));
  ASSERT_EQ(stored.status, 200) << stored.body;
  const std::string id = dataOf(stored).value("captureId", "");
  EXPECT_EQ(dataOf(stored), nlohmann::json::parse(R"({"captureId": ")" + id + R"(", "width": 40,
      "height": 30, "attachedKeys": 1, "unknownKeys": ["no.such.key"]})"));
  ASSERT_EQ(send(png(8, 8), listOf({region(R"(["welcome.title"])", 1, 1, 2, 2)})).status, 200);
  // Showing no string of the project, a capture is shown nowhere: it is not kept.
  const auto keyless = send(png(8, 8), std::nullopt);
  ASSERT_EQ(keyless.status, 200);
  EXPECT_TRUE(dataOf(keyless)["captureId"].is_null());
  EXPECT_EQ(storedCaptures(), 2);

  EXPECT_EQ(dataOf(get(kCaptures))["strings"],
            nlohmann::json::parse(R"([{"key": "welcome.title", "captures": 2}])"));
  const auto byKey = dataOf(get(std::string(kCaptures) + "?key=welcome.title"))["captures"];
  ASSERT_EQ(byKey.size(), 2u);
  EXPECT_EQ(byKey[0]["width"], 8) << "newest first";
  EXPECT_EQ(byKey[1]["captureId"], id);
  EXPECT_EQ(byKey[1]["image"], "/kolvane-api/v1/projects/demo/captures/" + id + "/image");
  EXPECT_EQ(byKey[1]["regions"],
            nlohmann::json::parse(
                R"([{"text": "Bienvenue", "x": 0, "y": 2.5, "width": 15, "height": 27.5}])"));
  EXPECT_EQ(dataOf(get(std::string(kCaptures) + "?key=tab.sent"))["captures"],
            nlohmann::json::array());

  const auto served = browse(byKey[1]["image"].get<std::string>(), "reviewer:reviewer");
  EXPECT_EQ(served.status, 200);
  EXPECT_EQ(headerOf(byKey[1]["image"].get<std::string>(), "Content-Type", "reviewer:reviewer"),
            "image/png");
  EXPECT_EQ(served.body, image);
  EXPECT_EQ(storedCaptures(), 2);
  EXPECT_EQ(storedCaptures("de-DE"), 0);
}

TEST_F(DevServerCapturesTest, ThePageDrawsEachKeysTextsOnItsCapturesAndEscapesThem) {
  const std::string hostile = "<script>alert(1)</script> & \"quoted\"";
  ASSERT_EQ(send(png(40, 30), listOf({region(R"(["inbox.title"])", 4, 5, 6, 7, hostile)})).status,
            200);
  const auto page = browse(kPage, "reviewer:reviewer");
  EXPECT_EQ(page.status, 200);
  EXPECT_THAT(headerOf(kPage, "Content-Type", "reviewer:reviewer"), HasSubstr("text/html"));
  EXPECT_THAT(page.body, HasSubstr("fr-FR"));
  EXPECT_THAT(page.body, HasSubstr("<code>inbox.title</code>"));
  EXPECT_THAT(page.body, HasSubstr("<svg viewBox=\"0 0 40 30\""));
  EXPECT_THAT(page.body, HasSubstr("<rect x=\"4.0\" y=\"5.0\" width=\"6.0\" height=\"7.0\" "
                                   "fill=\"none\" stroke="));
  EXPECT_THAT(page.body, HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt; &amp; &quot;quoted"));
  EXPECT_THAT(page.body, Not(HasSubstr("<script")));
  EXPECT_THAT(page.body, Not(HasSubstr("\"quoted")));
}

TEST_F(DevServerCapturesTest, OnlyTheProjectsUsersSendOrSeeCaptures) {
  const std::string regions = listOf({region(R"(["inbox.title"])", 0, 0, 1, 1)});
  token_.clear();
  EXPECT_EQ(send(png(4, 4), regions).status, 401);
  token_ = tokenOf("outsider");
  ASSERT_FALSE(token_.empty());
  const auto refused = send(png(4, 4), regions);
  EXPECT_EQ(refused.status, 403);
  EXPECT_EQ(codeOf(refused), "FORBIDDEN");
  EXPECT_EQ(get(kCaptures).status, 403);
  EXPECT_EQ(send(png(4, 4), "[]", "/kolvane-api/v1/projects/other/locales/en/captures").status,
            200);
  token_ = tokenOf("reviewer");
  EXPECT_EQ(send(png(4, 4), regions, "/kolvane-api/v1/projects/nope/locales/fr-FR/captures").status,
            404);
  EXPECT_EQ(send(png(4, 4), regions, "/kolvane-api/v1/projects/demo/locales/xx/captures").status,
            404);
  const std::string id = dataOf(send(png(4, 4), regions)).value("captureId", "");
  EXPECT_EQ(storedCaptures(), 1);

  EXPECT_EQ(browse(kPage).status, 401);
  EXPECT_EQ(headerOf(kPage, "WWW-Authenticate"), R"(Basic realm="Kolvane dev server")");
  EXPECT_EQ(browse(kPage, "reviewer:wrong").status, 401);
  EXPECT_EQ(browse(kPage, "outsider:outsider").status, 401);
  EXPECT_EQ(browse(kPage, "reviewer:reviewer").status, 200);
  const std::string image = "/kolvane-api/v1/projects/demo/captures/" + id + "/image";
  EXPECT_EQ(browse(image).status, 401);
  EXPECT_EQ(get(image).status, 200);
  EXPECT_EQ(browse("/kolvane-api/v1/projects/demo/captures/99/image", "reviewer:reviewer").status,
            404);
  // The other project's user asking for a demo capture through the other project.
  EXPECT_EQ(browse("/kolvane-api/v1/projects/other/captures/" + id + "/image", "outsider:outsider")
                .status,
            404);
}

TEST_F(DevServerCapturesTest, AnImageThatIsNoPngOfAFitSizeIsRefused) {
  const std::string signature("\x89PNG\r\n\x1a\n", 8);
  for (const std::string& image :
       {std::string("GIF89a") + png(4, 4), signature, png(4, 4).substr(0, 32),
        signature + bigEndian(13) + "IDAT" + png(4, 4).substr(16), png(0, 4), png(4, 0),
        png(16385, 4), png(4, 16385), png(0xffffffff, 4), std::string()}) {
    const auto refused = send(image, "[]");
    EXPECT_EQ(refused.status, 400) << ::testing::PrintToString(image);
    EXPECT_EQ(codeOf(refused), "INVALID_IMAGE") << ::testing::PrintToString(image);
  }
  EXPECT_EQ(codeOf(send(std::nullopt, "[]")), "NO_FILE");
  EXPECT_EQ(storedCaptures(), 0);
  EXPECT_EQ(dataOf(send(png(16384, 1), "[]"))["width"], 16384);
  EXPECT_EQ(dataOf(send(png(1, 16384), std::nullopt))["height"], 16384);
}

TEST_F(DevServerCapturesTest, MalformedRegionsAreRefusedWholeAndNothingIsStored) {
  const std::string good = region(R"(["inbox.title"])", 1, 1, 2, 2);
  std::string tooMany = "[" + good;
  for (int i = 1; i < 20001; ++i) tooMany += "," + good;
  const std::string longKey = "\"" + std::string(4097, 'k') + "\"";
  std::string manyKeys = "[\"inbox.title\"";
  for (int i = 0; i < 64; ++i) manyKeys += ",\"k" + std::to_string(i) + "\"";
  const auto one = [](const std::string& region) { return listOf({region}); };
  for (const std::string& regions :
       {std::string(R"({"keys": ["inbox.title"]})"), std::string("not json"), std::string("[1]"),
        listOf({good, R"({"keys": ["inbox.title"], "x": NaN, "y": 0, "width": 1, "height": 1})"}),
        one(R"({"keys": ["inbox.title"], "x": "1", "y": 0, "width": 1, "height": 1})"),
        one(R"({"keys": ["inbox.title"], "x": 1e999, "y": 0, "width": 1, "height": 1})"),
        one(R"({"keys": ["inbox.title"], "y": 0, "width": 1, "height": 1})"),
        one(R"({"keys": ["inbox.title"], "text": 5, "x": 0, "y": 0, "width": 1, "height": 1})"),
        one(R"({"keys": "inbox.title", "x": 0, "y": 0, "width": 1, "height": 1})"),
        one(region("[]", 0, 0, 1, 1)), one(region(R"([""])", 0, 0, 1, 1)),
        one(region("[7]", 0, 0, 1, 1)), one(region(manyKeys + "]", 0, 0, 1, 1)),
        one(region("[" + longKey + "]", 0, 0, 1, 1)), std::string(200, '[') + std::string(200, ']'),
        tooMany + "]"}) {
    const auto refused = send(png(4, 4), regions);
    EXPECT_EQ(refused.status, 400) << regions.substr(0, 120);
    EXPECT_EQ(codeOf(refused), "INVALID_REGIONS") << regions.substr(0, 120);
  }
  EXPECT_EQ(storedCaptures(), 0);
  EXPECT_EQ(dataOf(get(kCaptures))["strings"], nlohmann::json::array());

  // The most there may be, and a text cut to 4096 bytes between two characters.
  const auto most = send(png(4, 4), tooMany.substr(0, tooMany.size() - good.size() - 1) + "]");
  EXPECT_EQ(dataOf(most)["attachedKeys"], 1) << most.body;
  std::string accents;
  for (int i = 0; i < 2049; ++i) accents += "\xc3\xa9";
  ASSERT_EQ(send(png(4, 4), listOf({region(R"(["tab.sent"])", 0, 0, 1, 1, accents)})).status, 200);
  const auto cut = dataOf(get(std::string(kCaptures) + "?key=tab.sent"));
  EXPECT_EQ(cut["captures"][0]["regions"][0]["text"], accents.substr(0, 4096));
}

TEST_F(DevServerCapturesTest, OnlyTheNewest200CapturesOfALocaleAreKept) {
  const std::string early = listOf({region(R"(["inbox.title"])", 0, 0, 1, 1)});
  ASSERT_EQ(send(png(4, 4), early, "/kolvane-api/v1/projects/demo/locales/de-DE/captures").status,
            200);
  const std::string first = dataOf(send(png(4, 4), early)).value("captureId", "");
  const std::string later = listOf({region(R"(["tab.sent"])", 0, 0, 1, 1)});
  for (int i = 0; i < 200; ++i) ASSERT_EQ(send(png(4, 4), later).status, 200) << i;

  EXPECT_EQ(storedCaptures(), 200);
  EXPECT_EQ(dataOf(get(kCaptures))["strings"],
            nlohmann::json::parse(R"([{"key": "tab.sent", "captures": 200}])"));
  EXPECT_EQ(get("/kolvane-api/v1/projects/demo/captures/" + first + "/image").status, 404);
  EXPECT_EQ(dataOf(get(std::string(kCaptures) + "?key=tab.sent"))["captures"].size(), 20u);
  EXPECT_EQ(storedCaptures("de-DE"), 1);
}

}  // namespace
}  // namespace kolvane
