// Captures of a window: the regions of its traced texts in the picture, the captures kept for
// the review, and their delivery to a server that takes them (and to no other).
#include "capture/window_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "capture/capture_fixture.h"
#include "support/fake_host_views.h"
#include "tool-ui/actions_popup.h"

namespace kolvane {
namespace {

using testing::addLabel;
using testing::cued;
using ::testing::ElementsAre;
using testing::FakeContainer;
using testing::FakeLabel;
using testing::FakeWindow;
using ::testing::HasSubstr;

std::tuple<double, double, double, double> tied(const KVRect& rect) {
  return {rect.x, rect.y, rect.width, rect.height};
}

constexpr char kPngSignature[] = "\x89PNG\r\n\x1a\n";

class WindowCaptureTest : public testing::CaptureTest {
 protected:
  void SetUp() override {
    CaptureTest::SetUp();
    showFrench({{"sent", u"Envoyé %@ aujourd'hui"}, {"hi", u"Salut"}, {"file", u"un fichier"}});
    // At (100, 50) on screen, drawn at twice its size (a HiDPI screen).
    window_->rect = KVRect{100, 50, 400, 300};
    auto grey = std::make_shared<std::vector<std::uint32_t>>(800 * 600, 0xff7f7f7f);
    window_->image = KVWindowPixels{grey, grey->data(), 800, 800, 600};
    page_->parent = window_;
    page_->rect = window_->rect;
    window_->pages.push_back(page_);
    host_->window = window_;
    KolvaneTool::setHost(host_);
  }
  void TearDown() override {
    kv_forgetCaptures();
    KolvaneTool::setHost(nullptr);
    CaptureTest::TearDown();
  }
  std::shared_ptr<FakeLabel> label(const std::u16string& text, std::optional<KVRect> rect) {
    auto made = addLabel(page_, cued(text));
    made->rect = rect;
    return made;
  }
  // A capture whose one region shows `key` at `rect`.
  static std::shared_ptr<const KVWindowCapture> sightingOf(const std::string& key, KVRect rect) {
    auto capture = std::make_shared<KVWindowCapture>();
    capture->regions.push_back({u"text", {key}, rect});
    return capture;
  }
  void answer(const std::string& projectInfo, int captureStatus, const std::string& captureBody) {
    platform().transport.answer = [=](const HttpRequest& request) {
      HttpResponse response;
      const bool capture = request.url.find("/captures") != std::string::npos;
      response.status = capture ? captureStatus : 200;
      response.body = capture ? captureBody
                              : R"({"response": {"code": "SUCCESS", "data": )" + projectInfo + "}}";
      return response;
    };
  }
  KVCaptureDelivery deliver() {
    KVCaptureDelivery delivered;
    delivered.reason = u"never called";
    kv_captureKeyWindow([&delivered](KVCaptureDelivery delivery) { delivered = delivery; });
    platform().queue.runAll();
    return delivered;
  }

  std::shared_ptr<FakeWindow> window_ = std::make_shared<FakeWindow>();
  std::shared_ptr<FakeContainer> page_ = std::make_shared<FakeContainer>();
  std::shared_ptr<testing::FakeToolHost> host_ = std::make_shared<testing::FakeToolHost>();
};

TEST_F(WindowCaptureTest, RegionsAreTheTracedTextsShownInThePictureInItsPixels) {
  label(u"[Salut]", KVRect{110, 70, 100, 16});
  label(u"[Envoyé {[un fichier]} aujourd'hui]", KVRect{150, 100, 200, 20});
  label(u"Hard-coded", KVRect{110, 200, 100, 16});  // no strings: nothing to attach it to
  label(u"[Salut]", std::nullopt);                  // on a page not shown
  label(u"[Salut]", KVRect{450, 300, 100, 100});    // partly past the window's corner
  label(u"[Salut]", KVRect{600, 60, 100, 16});      // wholly outside it

  const auto capture = KolvaneTool::captureWindow();
  ASSERT_TRUE(capture);
  EXPECT_EQ(capture->image.png.substr(0, 8), kPngSignature);
  EXPECT_EQ(capture->image.width, 800);
  EXPECT_EQ(capture->image.height, 600);
  ASSERT_EQ(capture->regions.size(), 3u);
  EXPECT_EQ(capture->regions[0].text, u"Salut");
  EXPECT_THAT(capture->regions[0].keys, ElementsAre("hi"));
  EXPECT_EQ(tied(capture->regions[0].rect), tied(KVRect{20, 40, 200, 32}));
  EXPECT_THAT(capture->regions[1].keys, ElementsAre("sent", "file"));  // outer, then nested
  EXPECT_EQ(tied(capture->regions[1].rect), tied(KVRect{100, 100, 400, 40}));
  EXPECT_EQ(tied(capture->regions[2].rect),
            tied(KVRect{700, 500, 100, 100}));  // clipped to the picture

  const auto json = nlohmann::json::parse(kv_captureRegionsJson(capture->regions));
  EXPECT_EQ(json[1], nlohmann::json({{"keys", {"sent", "file"}},
                                     {"text", "Envoyé un fichier aujourd'hui"},
                                     {"x", 100.0},
                                     {"y", 100.0},
                                     {"width", 400.0},
                                     {"height", 40.0}}));

  window_->image->stride = 799;  // pixels that cannot be read
  EXPECT_FALSE(KolvaneTool::captureWindow());
  window_->image.reset();  // a window that cannot be drawn has no capture
  EXPECT_FALSE(KolvaneTool::captureWindow());
  host_->window = nullptr;
  EXPECT_FALSE(KolvaneTool::captureWindow());
}

TEST_F(WindowCaptureTest, TheNewestKeptCaptureShowingAStringIsWhereItWasSeen) {
  kv_keepCapture(sightingOf("a", KVRect{1, 1, 1, 1}));
  kv_keepCapture(sightingOf("b", KVRect{2, 2, 2, 2}));
  kv_keepCapture(sightingOf("a", KVRect{3, 3, 3, 3}));
  EXPECT_EQ(tied(kv_lastSighting("a")->rect), tied(KVRect{3, 3, 3, 3}));
  EXPECT_EQ(tied(kv_lastSighting("b")->rect), tied(KVRect{2, 2, 2, 2}));
  EXPECT_FALSE(kv_lastSighting("c"));
  // Pictures are large: only the few newest stay.
  for (int i = 0; i < 8; ++i) kv_keepCapture(sightingOf("c", KVRect{}));
  EXPECT_FALSE(kv_lastSighting("a"));
  EXPECT_TRUE(kv_lastSighting("c"));
}

TEST_F(WindowCaptureTest, OnlyASignedInReviewerSendsAndOnlyToAServerThatTakesCaptures) {
  label(u"[Salut]", KVRect{110, 70, 100, 16});
  auto delivered = deliver();
  EXPECT_EQ(delivered.outcome, KVCaptureDelivery::Outcome::notSignedIn);
  EXPECT_TRUE(platform().transport.sent.empty());
  EXPECT_TRUE(kv_lastSighting("hi"));  // kept for the review all the same

  logIn();
  answer(R"({"name": "plain"})", 200, "{}");
  delivered = deliver();
  EXPECT_EQ(delivered.outcome, KVCaptureDelivery::Outcome::notTakenThere);
  ASSERT_EQ(platform().transport.sent.size(), 1u);  // the project's info, nothing posted
  EXPECT_THAT(platform().transport.sent[0].url, HasSubstr("/projects-api/"));
}

TEST_F(WindowCaptureTest, ACaptureGoesToTheServerAsItsPictureAndRegionsAndTheMenuSaysSo) {
  label(u"[Salut]", KVRect{110, 70, 100, 16});
  logIn();
  answer(R"({"kolvaneExtensions": ["captures"]})", 200,
         R"({"response": {"code": "SUCCESS", "data": {"attachedKeys": 1}}})");
  const auto menu = KVActionsPopup::show();
  platform().queue.runAll();
  const std::size_t last = menu->sections().size() - 1;
  const auto captureRow = [&] { return menu->sections()[last].rows[3]; };
  EXPECT_EQ(captureRow().title, u"Capture this window");
  menu->selectRow(last, 3);
  EXPECT_EQ(captureRow().detail, u"Sending…");
  menu->selectRow(last, 3);  // one at a time
  platform().queue.runAll();
  EXPECT_EQ(captureRow().detail, u"Sent, for 1 string");
  EXPECT_EQ(std::count_if(platform().transport.sent.begin(), platform().transport.sent.end(),
                          [](const HttpRequest& sent) {
                            return sent.url.find("/captures") != std::string::npos;
                          }),
            1);

  const HttpRequest& post = platform().transport.sent.back();
  EXPECT_EQ(post.method, "POST");
  EXPECT_THAT(post.url, HasSubstr("/kolvane-api/v1/projects/"));
  EXPECT_THAT(post.url, HasSubstr("/locales/fr-FR/captures"));
  EXPECT_THAT(post.body, HasSubstr("name=\"regions\"\r\n\r\n[{\"height\":32.0,\"keys\":[\"hi\"]"));
  EXPECT_THAT(post.body, HasSubstr("name=\"file\"; filename=\"capture.png\""));
  EXPECT_THAT(post.body, HasSubstr(kPngSignature));
  EXPECT_FALSE(
      platform().files.fileExists(KVMainController::kolvaneFilesFolder() + "/capture.png"));

  // A refusal is told in the server's words; the capture stays on the device.
  answer(R"({"kolvaneExtensions": ["captures"]})", 400,
         R"({"response": {"code": "INVALID_REGIONS", "errors": [{"code": "INVALID_REGIONS",
             "message": "A region needs a key"}]}})");
  menu->selectRow(last, 3);
  platform().queue.runAll();
  EXPECT_EQ(captureRow().detail, u"Not sent");
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts[0].title, u"Capture not sent");
  EXPECT_EQ(host_->alerts[0].message, u"A region needs a key");
}

TEST_F(WindowCaptureTest, WindowsNotAsTranslatorsWillSeeThemOrWithoutStringsAreNotSent) {
  logIn();
  answer(R"({"kolvaneExtensions": ["captures"]})", 200, "{}");
  const auto kept = [this](const std::u16string& reason) {
    const auto delivered = deliver();
    EXPECT_EQ(delivered.outcome, KVCaptureDelivery::Outcome::notForTranslators);
    EXPECT_EQ(delivered.reason, reason);
  };
  label(u"Hard-coded", KVRect{110, 70, 100, 16});
  kept(u"No string is shown in this window.");
  label(u"[Salut]", KVRect{110, 90, 100, 16});
  KolvaneTool::setPseudoTranslation(true);
  kept(u"Pseudo-translation is on.");
  KolvaneTool::setPseudoTranslation(false);
  controller().setLocaleStrings(nullptr);
  kept(u"No language is shown.");
  EXPECT_TRUE(platform().transport.sent.empty());
}

}  // namespace
}  // namespace kolvane
