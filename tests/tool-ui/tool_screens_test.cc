// The tool's screens driven as the adapter drives them, on a fake host, with the server
// answered by a script: the menu by state, its confirmations and choices, the login's redirect
// and code exchange, and the review's cards and sending sequence.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/server_text.h"
#include "base/utf.h"
#include "capture/window_capture.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/workflow_step.h"
#include "kolvane/tool.h"
#include "server/login_form.h"
#include "server/session.h"
#include "strings/xliff_parser.h"
#include "support/fake_host_views.h"
#include "support/reviewer_fixture.h"
#include "tool-ui/actions_popup.h"
#include "tool-ui/choice_lists.h"
#include "tool-ui/login_page.h"
#include "tool-ui/review_view_controller.h"

namespace kolvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::shared_ptr<KVStringGroup> group(const std::string& key, const std::u16string& text) {
  auto form = std::make_shared<KVString>();
  form->key = key;
  form->uid = "h-" + key;
  form->extractFormatFromString(text);
  auto made = std::make_shared<KVStringGroup>();
  made->addStringForm(form);
  return made;
}

nlohmann::json data(nlohmann::json payload) {
  return {{"response", {{"code", "SUCCESS"}, {"data", std::move(payload)}}}};
}

// One workflow: "Translation" (fr-FR from en) and "Review" (fr-FR and de-DE from en).
nlohmann::json workflows() {
  const auto step = [](const char* name, nlohmann::json pairs) {
    return nlohmann::json{
        {"workflowStepName", name},
        {"workflowStepUid", std::string(name) + "-uid"},
        {"permissions",
         {{"canTranslateStrings", true}, {"canSubmitStrings", true}, {"canRejectStrings", true}}},
        {"localePairs", pairs}};
  };
  const nlohmann::json french = {{"sourceLocaleId", "en"}, {"targetLocaleId", "fr-FR"}};
  const nlohmann::json german = {{"sourceLocaleId", "en"}, {"targetLocaleId", "de-DE"}};
  return {
      {"items",
       {{{"workflowName", "Default"},
         {"workflowUid", "wf"},
         {"workflowSteps", {step("Translation", {french}), step("Review", {french, german})}}}}}};
}

class ToolScreensTest : public testing::ReviewerTest {
 protected:
  void SetUp() override {
    ReviewerTest::SetUp();
    platform().defaults.setObject("KVLocale", "fr_FR");
    controller().startWithProjectId("proj", nullptr);
    logIn();
    host_ = std::make_shared<testing::FakeToolHost>();
    KolvaneTool::setHost(host_);
    platform().transport.answer = [this](const HttpRequest& request) { return route(request); };
  }
  void TearDown() override {
    KolvaneTool::setHost(nullptr);
    ReviewerTest::TearDown();
  }
  static KVMainController& controller() { return KVMainController::sharedInstance(); }
  KVLocaleStrings& shown() { return *controller().localeStrings(); }

  // Answers by path; `failing` paths get a 500, `failures` are reported by status changes.
  HttpResponse route(const HttpRequest& request) {
    HttpResponse response;
    response.status = 200;
    for (const auto& path : failing) {
      if (request.url.find(path) != std::string::npos) {
        response.status = 500;
        return response;
      }
    }
    nlohmann::json body = data(nlohmann::json::object());
    if (request.url.find("/workflows") != std::string::npos) body = data(workflowsAnswer);
    if (request.url.find("Strings") != std::string::npos) body = data({{"failures", failures}});
    if (request.url.find("/import") != std::string::npos) {
      body = data({{"translationImportErrors", importErrors}});
    }
    response.body = request.url.find("/export") != std::string::npos ? "" : body.dump();
    return response;
  }
  const std::vector<HttpRequest>& platform_sent() { return platform().transport.sent; }
  bool sentTo(const std::string& part) {
    for (const auto& request : platform_sent()) {
      if (request.url.find(part) != std::string::npos) return true;
    }
    return false;
  }
  std::shared_ptr<KVActionsPopup> openMenu() {
    auto popup = KVActionsPopup::show();
    platform().queue.runAll();
    return popup;
  }
  std::shared_ptr<const KVWorkflowStep> stepNamed(const KVActionsPopup& popup,
                                                  const std::string& name) {
    for (const auto& [locale, steps] : popup.targetLocaleChoices()) {
      for (const auto& step : steps) {
        if (step->name == name) return step;
      }
    }
    return nullptr;
  }
  // Answers the code exchange with a token for `reviewer`, and the rest as route() does.
  void answerTokenFor(const std::string& reviewer) {
    platform().transport.answer = [this, reviewer](const HttpRequest& request) {
      if (request.url.find("/token") == std::string::npos) return route(request);
      HttpResponse response;
      response.status = 200;
      response.body = testing::tokenAnswerFor(reviewer);
      return response;
    };
  }
  // Signs `reviewer` in through the login screen that the menu gesture opens; the menu follows.
  void signInAs(const std::string& reviewer) {
    KolvaneTool::triggerActions();
    const auto login = host_->top<KVLoginPage>();
    ASSERT_NE(login, nullptr);
    answerTokenFor(reviewer);
    login->shouldLoadUrl(KVLoginViewController::redirectPrefix() +
                         "login/?code=c&state=" + login->state());
    platform().queue.runAll();
  }
  // The chosen step's name, "" when none.
  static std::string stepName() {
    const auto& step = controller().workflowStep();
    return step ? step->name : "";
  }
  // Logs out from the menu, answering "Log Out" when asked about unsent changes.
  void logOutKeepingChanges() {
    openMenu()->selectRow(0, 1);
    host_->answerAlert(1);
  }
  std::vector<std::u16string> rowTitles(const KVActionsPopup& popup) {
    std::vector<std::u16string> titles;
    for (const auto& section : popup.sections()) {
      for (const auto& row : section.rows) titles.push_back(row.title);
    }
    return titles;
  }

  std::shared_ptr<testing::FakeToolHost> host_;
  nlohmann::json workflowsAnswer = workflows();
  std::vector<std::string> failing;
  nlohmann::json failures = nlohmann::json::array();
  nlohmann::json importErrors = nlohmann::json::array();
};

TEST_F(ToolScreensTest, TheMenuShowsTheAccountTheChoicesAndTheChangesByState) {
  auto popup = KVActionsPopup::show();
  EXPECT_EQ(host_->top<KVActionsPopup>(), popup);
  EXPECT_THAT(rowTitles(*popup), ElementsAre(u"Loading..."));  // the workflows are on their way
  EXPECT_FALSE(popup->sections()[0].rows[0].enabled);
  platform().queue.runAll();

  KVSession::sharedInstance().setToken({{"access_token", "t"}, {"expires", platform().now() + 60}});
  auto sections = popup->sections();
  ASSERT_EQ(sections.size(), 5u);
  EXPECT_EQ(sections[4].header, u"This window");
  EXPECT_EQ(sections[0].rows[1].title, u"Logout");
  EXPECT_EQ(sections[1].header, u"Translation");
  EXPECT_EQ(sections[1].rows[0].detail, u"French (France)");
  EXPECT_EQ(sections[2].footer, u"No French (France) translations on this device");
  EXPECT_TRUE(sections[3].rows.empty());  // no step that lets the reviewer translate

  controller().setWorkflowStep(stepNamed(*popup, "Review"));
  shown().setDirtyGroup("a", group("a", u"A"));
  shown().acceptedStrings()["b"] = group("b", u"B");
  sections = popup->sections();
  EXPECT_EQ(sections[3].rows[0].title, u"Save My Changes");
  EXPECT_EQ(sections[3].rows[0].detail, u"1 translated, 1 accepted");
  EXPECT_TRUE(sections[3].rows[0].highlighted);
  EXPECT_EQ(popup->unsavedChanges(), 2u);
  EXPECT_NE(popup->versionText().find(u"\nSDK version: "), std::u16string::npos);
  EXPECT_NE(popup->versionText().find(u"\nProject ID: proj"), std::u16string::npos);

  ASSERT_TRUE(platform().files.writeFileAtomically(shown().pendingFilePath(), "x"));
  EXPECT_EQ(popup->sections()[2].footer.rfind(u"Last updated ", 0), 0u);

  KVSession::sharedInstance().setToken(nullptr);
  controller().setLocaleStrings(nullptr);
  sections = popup->sections();
  ASSERT_EQ(sections.size(), 4u);
  EXPECT_EQ(sections[0].rows[0].title, u"Login");
  EXPECT_EQ(sections[0].footer, u"Log in to be able to edit translations.");
  EXPECT_EQ(sections[2].footer, u"No translations on this device");
  EXPECT_FALSE(sections[1].rows[1].enabled);  // no language chosen
  popup->selectRow(0, 0);
  EXPECT_NE(host_->top<KVLoginPage>(), nullptr);
}

TEST_F(ToolScreensTest, UnsavedChangesAreConfirmedFirstExceptTheLanguageWithoutAStep) {
  auto popup = openMenu();
  shown().setDirtyGroup("a", group("a", u"A"));
  popup->selectRow(1, 0);  // no step: nothing asked, nothing done
  EXPECT_THAT(host_->alerts, IsEmpty());
  EXPECT_EQ(host_->screens.size(), 1u);

  popup->selectRow(1, 1);
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts.back().title, u"Change workflow step");
  EXPECT_EQ(host_->alerts.back().message,
            u"Are you sure you want to change workflow step? All unsaved changes on this device "
            u"will be deleted.");
  EXPECT_EQ(host_->alerts.back().cancelButtonTitle, u"No");
  EXPECT_THAT(host_->alerts.back().otherButtonTitles, ElementsAre(u"Yes"));
  EXPECT_EQ(host_->alerts.back().tag, 4);
  host_->answerAlert(0);  // "No"
  EXPECT_EQ(host_->screens.size(), 1u);

  controller().setWorkflowStep(stepNamed(*popup, "Review"));
  popup->selectRow(1, 0);
  EXPECT_EQ(host_->alerts.back().title, u"Change language");
  EXPECT_EQ(host_->alerts.back().message,
            u"Are you sure you want to change language? All unsaved changes on this device will "
            u"be deleted.");
  EXPECT_THAT(host_->alerts.back().otherButtonTitles, ElementsAre(u"Yes"));
  EXPECT_EQ(host_->alerts.back().tag, 3);
  host_->answerAlert(1);
  EXPECT_EQ(host_->screens.back()->title(), u"Language");
  host_->popToolScreen();

  popup->selectRow(2, 0);
  EXPECT_EQ(host_->alerts.back().title, u"Get Latest Text");
  EXPECT_EQ(host_->alerts.back().message,
            u"Are you sure you want to download the latest translations? All unsaved changes on "
            u"this device will be overwritten.");
  EXPECT_EQ(host_->alerts.back().cancelButtonTitle, u"No");
  EXPECT_EQ(host_->alerts.back().tag, 2);
  const std::size_t before = platform_sent().size();
  host_->answerAlert(1);
  platform().queue.runAll();
  EXPECT_TRUE(shown().dirtyStrings().empty());  // the pull threw the edit away
  EXPECT_GT(platform_sent().size(), before);

  popup->selectRow(3, 0);  // nothing left to save: nothing happens
  EXPECT_EQ(host_->screens.size(), 1u);

  popup->selectRow(0, 1);
  EXPECT_FALSE(KVSession::sharedInstance().isLoggedIn());
  EXPECT_TRUE(host_->editionGestureRemoved);
  EXPECT_THAT(host_->screens, IsEmpty());
}

TEST_F(ToolScreensTest, ALanguageKeepsAStepCoveringItElseTakesTheFirstStepListingIt) {
  auto popup = openMenu();
  EXPECT_THAT(popup->targetLocaleIds(), ElementsAre("de_DE", "fr_FR"));
  EXPECT_THAT(popup->sourceLocaleIds(), ElementsAre("en"));
  EXPECT_EQ(popup->targetLocaleChoices().at("fr_FR").size(), 2u);

  popup->setLocale(Locale("ja_JP"));  // no workflow has it: nothing changes
  EXPECT_EQ(shown().locale().localeIdentifier(), "fr_FR");
  EXPECT_EQ(controller().workflowStep(), nullptr);

  // No step yet: the first step listing German is chosen while French is still shown, so the
  // pull it starts fetches French, and none follows for German.
  platform().transport.sent.clear();
  popup->setLocale(Locale("de_DE"));
  platform().queue.runAll();
  EXPECT_EQ(controller().workflowStep()->name, "Review");
  EXPECT_EQ(shown().locale().localeIdentifier(), "de_DE");
  EXPECT_EQ(platform().defaults.objectForKey("KVLocale"), nlohmann::json("de_DE"));
  EXPECT_TRUE(sentTo("/locales/fr-FR/content/export"));
  EXPECT_FALSE(sentTo("/locales/de-DE/"));

  // The step covers French: it stays and French is pulled.
  platform().transport.sent.clear();
  popup->setLocale(Locale("fr_FR"));
  platform().queue.runAll();
  EXPECT_EQ(controller().workflowStep()->name, "Review");
  EXPECT_TRUE(sentTo("/locales/fr-FR/content/export"));

  // A step the project no longer has is cleared by the next reload.
  auto gone = std::make_shared<KVWorkflowStep>();
  gone->uid = "gone";
  controller().setWorkflowStep(gone);
  KVSession::sharedInstance().setWorkflows(std::nullopt);
  popup->reload();
  platform().queue.runAll();
  EXPECT_EQ(controller().workflowStep(), nullptr);
}

// `count` steps of one workflow, each translating French.
nlohmann::json manySteps(std::size_t count) {
  nlohmann::json steps = nlohmann::json::array();
  for (std::size_t i = 0; i < count; ++i) {
    steps.push_back({{"workflowStepName", "Step " + std::to_string(i)},
                     {"workflowStepUid", "s" + std::to_string(i)},
                     {"localePairs", {{{"sourceLocaleId", "en"}, {"targetLocaleId", "fr-FR"}}}}});
  }
  return {{"items", {{{"workflowName", "Big"}, {"workflowSteps", std::move(steps)}}}}};
}

TEST_F(ToolScreensTest, TheLargestStepListTakenIsBuiltInOnePassAndALargerOneIsRefusedInWords) {
  workflowsAnswer = manySteps(KVWorkflowStep::kMaxSteps);
  auto popup = openMenu();
  const auto chosen = popup->workflowStepChoices().at(9'876);
  controller().setWorkflowStep(chosen);
  const KVWorkflowStepChoiceList list(popup);
  const auto sections = list.choiceSections();
  ASSERT_EQ(sections.size(), 1u);
  EXPECT_EQ(sections[0].items.size(), KVWorkflowStep::kMaxSteps);
  EXPECT_EQ(sections[0].chosen, 9'876u);
  EXPECT_EQ(sections[0].items[9'876], u"\u2068Step 9876\u2069 (\u2068Big\u2069)");
  EXPECT_THAT(host_->alerts, IsEmpty());

  workflowsAnswer = manySteps(KVWorkflowStep::kMaxSteps + 1);
  KVSession::sharedInstance().setWorkflows(std::nullopt);
  popup->reload();
  platform().queue.runAll();
  EXPECT_THAT(popup->workflowStepChoices(), IsEmpty());
  EXPECT_EQ(popup->titleLoading(), KVTitleLoading::succeeded);  // a failed reload too
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts[0].message,
            u"The answer with the project's workflows was refused: it holds more than "
            u"10,000 workflow steps.");
}

TEST_F(ToolScreensTest, ServerTextsAreShownIsolatedWithTheirControlsReplaced) {
  nlohmann::json answer = workflows();
  answer["items"][0]["workflowName"] = "\u202Edlrow\u2069\u0007";
  workflowsAnswer = answer;
  const KVWorkflowStepChoiceList list(openMenu());
  EXPECT_EQ(list.choiceSections()[0].items[0],
            u"\u2068Translation\u2069 (\u2068dlrow\uFFFD\u2069)");
  EXPECT_EQ(kv_shownServerText(std::string_view("a\nb\tc\x1b")), u"\u2068a\nb\tc\uFFFD\u2069");
  EXPECT_EQ(kv_shownServerText(std::string_view()), u"");
}

TEST_F(ToolScreensTest, AFailedPullShowsTheAlertAndKeepsTheFiles) {
  auto popup = openMenu();
  failing = {"/export"};
  popup->pull();
  const auto sections = popup->sections();
  EXPECT_TRUE(sections[0].rows[1].enabled);  // "Logout" stays reachable
  for (std::size_t section = 1; section < sections.size(); ++section) {
    for (const auto& row : sections[section].rows) {
      EXPECT_FALSE(row.enabled) << toUtf8(row.title);
    }
  }
  platform().queue.runAll();
  EXPECT_TRUE(popup->sections()[2].rows[0].enabled);
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts[0].title, u"Error");
  EXPECT_EQ(host_->alerts[0].message, u"Unable to get latest text. Please try again later.");
  EXPECT_EQ(host_->alerts[0].cancelButtonTitle, u"Close");
  EXPECT_EQ(popup->titleLoading(), KVTitleLoading::failed);
}

TEST_F(ToolScreensTest, ALoopbackChannelHasAFreshVerifierAndItsS256Challenge) {
  const KVSignOnChannel channel = kv_loopbackSignOnChannel(4321);
  EXPECT_EQ(channel.redirectPrefix, "http://127.0.0.1:4321/");
  EXPECT_EQ(channel.codeVerifier.size(), 43u);  // 32 bytes, base64url without padding
  EXPECT_EQ(channel.codeVerifier.find_first_not_of(
                "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"),
            std::string::npos);
  EXPECT_NE(kv_loopbackSignOnChannel(4321).codeVerifier, channel.codeVerifier);
  EXPECT_EQ(channel.codeChallenge, kv_s256Challenge(channel.codeVerifier));
  // RFC 7636 appendix B.
  EXPECT_EQ(kv_s256Challenge("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"),
            "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
}

TEST_F(ToolScreensTest, TheLoginTakesTheCodeFromTheRedirectOnceAndCancelsAsCancelled) {
  KVSession::sharedInstance().setToken(nullptr);
  std::vector<bool> answers;
  KVLoginPage::openLoginFormWithCompletion(
      [&answers](bool cancelled) { answers.push_back(cancelled); });
  auto login = host_->top<KVLoginPage>();
  ASSERT_NE(login, nullptr);
  EXPECT_EQ(login->title(), u"Login");
  EXPECT_EQ(login->leftButtonTitle(), u"Cancel");
  login->loadView({"http://127.0.0.1:4321/", "the-challenge", "the-verifier"});
  ASSERT_EQ(host_->signOnPages.size(), 1u);
  EXPECT_THAT(host_->signOnPages[0],
              HasSubstr("/auth/realms/Kolvane/protocol/openid-connect/auth?response_type=code"
                        "&client_id=ios-sdk&redirect_uri=http://127.0.0.1:4321/login/"
                        "&code_challenge=the-challenge&code_challenge_method=S256"));

  const std::string state = "&state=" + login->state();
  EXPECT_THAT(host_->signOnPages[0], HasSubstr(state));
  // The browser may still hold another account's session: the sign-on asks afresh.
  EXPECT_THAT(host_->signOnPages[0], HasSubstr("&prompt=login"));
  // No browser: the reviewer is told, and has the address to open by hand or again.
  EXPECT_THAT(toUtf8(login->message()), HasSubstr("Closed it?"));
  host_->browserOpens = false;
  login->openSignOnPageAgain();
  ASSERT_EQ(host_->signOnPages.size(), 2u);
  EXPECT_EQ(host_->signOnPages[1], login->signOnAddress());
  EXPECT_THAT(toUtf8(login->message()), HasSubstr("No browser could be opened"));

  EXPECT_TRUE(login->shouldLoadUrl("http://sso.example/auth/page"));
  EXPECT_FALSE(login->shouldLoadUrl("http://127.0.0.1:4321/login/?error=denied" + state));
  EXPECT_FALSE(login->loading());  // a redirect without a code is swallowed

  failing = {"/token"};
  EXPECT_EQ(login->receiveRedirect("http://127.0.0.1:4321/login/?code=first" + state),
            KVRedirectOutcome::accepted);
  EXPECT_EQ(login->receiveRedirect("http://127.0.0.1:4321/login/?code=second" + state),
            KVRedirectOutcome::refused);  // one redirect per sign-in
  platform().queue.runAll();
  const HttpRequest& exchange = platform_sent().back();
  EXPECT_THAT(exchange.body, HasSubstr("code=first"));
  EXPECT_THAT(exchange.body, HasSubstr("code_verifier=the-verifier"));
  EXPECT_THAT(exchange.body, HasSubstr("redirect_uri=http%3A%2F%2F127.0.0.1%3A4321%2Flogin%2F"));
  // The failed exchange reloads the page, and the screen stays loading: later codes are
  // ignored until the reviewer cancels.
  EXPECT_EQ(host_->signOnPages.size(), 3u);
  EXPECT_TRUE(login->loading());
  const std::size_t exchanges = platform_sent().size();
  login->shouldLoadUrl("http://127.0.0.1:4321/login/?code=third" + state);
  platform().queue.runAll();
  EXPECT_EQ(platform_sent().size(), exchanges);
  EXPECT_THAT(answers, IsEmpty());
  login->leftButtonTapped();
  EXPECT_THAT(answers, ElementsAre(true));
  EXPECT_THAT(host_->screens, IsEmpty());
}

TEST_F(ToolScreensTest, ACodeThisSignInDidNotAskForChangesNothing) {
  KVSession::sharedInstance().setToken(nullptr);
  KVLoginPage::openLoginFormWithCompletion({});
  auto login = host_->top<KVLoginPage>();
  login->loadView({"http://127.0.0.1:4321/", "the-challenge", "the-verifier"});
  const std::string redirect = "http://127.0.0.1:4321/login/?code=";
  auto other = std::make_shared<KVLoginPage>();
  ASSERT_NE(other->state(), login->state());
  ASSERT_EQ(login->state().size(), 64u);
  for (const std::string& forged :
       {redirect + "theirs", redirect + "theirs&state=", redirect + "theirs&state=guess",
        redirect + "theirs&state=" + other->state(),
        redirect + "theirs&state=" + login->state().substr(1)}) {
    EXPECT_EQ(login->receiveRedirect(forged), KVRedirectOutcome::refused) << forged;
  }
  platform().queue.runAll();
  EXPECT_FALSE(login->loading());
  EXPECT_FALSE(sentTo("/token"));
  // The reviewer's own redirect, after all of those, is still taken.
  EXPECT_EQ(login->receiveRedirect(redirect + "mine&state=" + login->state()),
            KVRedirectOutcome::accepted);
  platform().queue.runAll();
  EXPECT_THAT(platform_sent().back().body, HasSubstr("code=mine"));
}

TEST_F(ToolScreensTest, TheLoopbackReadsOneRequestPerConnectionWithinItsBounds) {
  KVLoopbackRequest split;
  EXPECT_EQ(split.append("GET /login/?code=a&state=b HT"), KVLoopbackRequest::State::reading);
  EXPECT_EQ(split.append("TP/1.1\r\nHost: x\r\n\r"), KVLoopbackRequest::State::reading);
  EXPECT_EQ(split.append("\n"), KVLoopbackRequest::State::complete);
  EXPECT_EQ(split.target(), "/login/?code=a&state=b");
  EXPECT_EQ(split.append("GET /other HTTP/1.1\r\n\r\n"), KVLoopbackRequest::State::complete);
  EXPECT_EQ(split.target(), "/login/?code=a&state=b");

  for (const std::string& bad :
       {std::string("POST /login/ HTTP/1.1\r\n\r\n"), std::string("GET login HTTP/1.1\r\n\r\n"),
        std::string("GET /a\x01b HTTP/1.1\r\n\r\n"), std::string("GET /a\r\n\r\n"),
        std::string("GET /" + std::string(KVLoopbackRequest::kMaxBytes, 'a'))}) {
    KVLoopbackRequest request;
    EXPECT_EQ(request.append(bad), KVLoopbackRequest::State::refused) << bad.substr(0, 20);
    EXPECT_EQ(request.target(), "");
  }
}

TEST_F(ToolScreensTest, TheMenuGestureOpensTheLoginFirstAndTheMenuOnlyOnceSignedIn) {
  KVSession::sharedInstance().setToken(nullptr);
  KolvaneTool::triggerActions();
  EXPECT_EQ(host_->cancelledPresses, 1);
  auto login = host_->top<KVLoginPage>();
  ASSERT_NE(login, nullptr);
  login->cancel();
  EXPECT_THAT(host_->screens, IsEmpty());

  signInAs("someone");
  EXPECT_TRUE(KVSession::sharedInstance().isLoggedIn());
  EXPECT_NE(host_->top<KVActionsPopup>(), nullptr);
}

TEST_F(ToolScreensTest, LogoutAsksFirstAndKeepsUnsentChangesForTheSameReviewer) {
  KVSession::sharedInstance().setUserId("alice");
  auto popup = openMenu();
  controller().setWorkflowStep(stepNamed(*popup, "Review"));
  shown().setDirtyGroup("a", group("a", u"A"));
  shown().rejectedStrings()["b"] = group("b", u"B");
  ASSERT_FALSE(shown().saveDirty().has_value());

  popup->selectRow(0, 1);
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts[0].message,
            u"2 changes have not been sent. Log out and keep them on this device?");
  EXPECT_THAT(host_->alerts[0].otherButtonTitles, ElementsAre(u"Log Out"));
  host_->answerAlert(0);  // "Cancel"
  EXPECT_TRUE(KVSession::sharedInstance().isLoggedIn());

  popup->selectRow(0, 1);
  host_->answerAlert(1);
  EXPECT_FALSE(KVSession::sharedInstance().isLoggedIn());
  EXPECT_TRUE(host_->editionGestureRemoved);
  // The app goes on showing French, and the changes stay on the device.
  ASSERT_NE(controller().localeStrings(), nullptr);
  EXPECT_TRUE(platform().files.fileExists(shown().dirtyFilePath()));

  signInAs("alice");
  EXPECT_FALSE(host_->editionGestureRemoved);
  EXPECT_EQ(stepName(), "Review");
  const auto menu = host_->top<KVActionsPopup>();
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(menu->sections()[1].rows[0].detail, u"French (France)");
  EXPECT_EQ(menu->sections()[1].rows[1].detail, u"\u2068Review\u2069");
  EXPECT_EQ(menu->unsavedChanges(), 2u);
}

TEST_F(ToolScreensTest, AnotherReviewerGetsNoStepSoTheKeptChangesAreNotSentUnderTheirName) {
  KVSession::sharedInstance().setUserId("alice");
  controller().setWorkflowStep(stepNamed(*openMenu(), "Review"));
  shown().setDirtyGroup("a", group("a", u"A"));
  logOutKeepingChanges();

  signInAs("bob");
  EXPECT_EQ(stepName(), "");
  const auto bobsMenu = host_->top<KVActionsPopup>();
  ASSERT_NE(bobsMenu, nullptr);
  EXPECT_TRUE(bobsMenu->sections()[3].rows.empty());  // no "Save My Changes" without a step
  EXPECT_EQ(shown().dirtyStrings().count("a"), 1u);
  // Bob's logout does not make them his.
  logOutKeepingChanges();
  signInAs("alice");
  EXPECT_EQ(stepName(), "Review");
}

class ReviewTest : public ToolScreensTest {
 protected:
  void SetUp() override {
    ToolScreensTest::SetUp();
    popup_ = openMenu();
    controller().setWorkflowStep(stepNamed(*popup_, "Review"));
  }
  // Opens the review from the menu and deals with every card: `keep` says which are kept.
  std::shared_ptr<KVReviewViewController> review(const std::vector<bool>& keep) {
    popup_->selectRow(3, 0);
    auto screen = host_->top<KVReviewViewController>();
    platform().queue.runAll();
    for (const bool kept : keep) {
      kept ? screen->keep() : screen->discard();
      EXPECT_NE(screen->pendingThrow(), KVReviewScreen::Throw::none);
      screen->cardWasThrown();
      platform().queue.runAll();
    }
    return screen;
  }
  std::shared_ptr<KVActionsPopup> popup_;
};

TEST_F(ReviewTest, AStringEditedAndDecidedIsOneCardAndDiscardingAllSendsNothing) {
  shown().setDirtyGroup("a", group("a", u"A edited"));
  shown().acceptedStrings()["a"] = group("a", u"A");
  shown().rejectedStrings()["b"] = group("b", u"B");
  popup_->selectRow(3, 0);
  auto screen = host_->top<KVReviewViewController>();
  ASSERT_NE(screen, nullptr);
  EXPECT_EQ(screen->title(), u"Review changes");
  EXPECT_TRUE(screen->isBusy());
  platform().queue.runAll();
  const auto cards = screen->cards();
  ASSERT_EQ(cards.size(), 2u);
  EXPECT_EQ(cards[0].key, "a");
  EXPECT_EQ(cards[0].myText, u"A edited");
  EXPECT_EQ(cards[0].myStatus, u"Not reviewed");
  EXPECT_EQ(cards[0].currentText, u"No translation");
  EXPECT_EQ(cards[1].key, "b");

  platform().transport.sent.clear();
  screen->discard();
  screen->discard();  // the first card is still flying: ignored
  screen->cardWasThrown();
  screen->discard();
  screen->cardWasThrown();
  platform().queue.runAll();
  EXPECT_FALSE(sentTo("/import"));  // an empty upload sends nothing
  EXPECT_FALSE(sentTo("/issues"));
  EXPECT_EQ(popup_->unsavedChanges(), 0u);
  EXPECT_EQ(host_->top<KVActionsPopup>(), popup_);  // back at the menu
}

TEST_F(ReviewTest, AStringWhoseUploadFailedIsNeitherSubmittedNorRejected) {
  shown().setDirtyGroup("a", group("a", u"A edited"));
  shown().rejectedStrings()["a"] = group("a", u"A");
  shown().setDirtyGroup("c", group("c", u"C edited"));
  shown().rejectedStrings()["d"] = group("d", u"D");
  shown().rejectedStrings()["e"] = group("e", u"E");
  importErrors = {{{"stringHashCode", "h-a"}, {"messages", {"no"}}}};
  failures = {{{"hashcode", "h-d"}}};
  review({true, true, true, true});
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts[0].title, u"Error");
  EXPECT_EQ(host_->alerts[0].message, u"Some strings could not be submitted");
  // What could not be sent stays on the device, and the menu keeps it for another try.
  EXPECT_THAT(shown().dirtyStrings(), ::testing::SizeIs(1));
  EXPECT_TRUE(shown().dirtyStrings().count("a"));
  EXPECT_TRUE(shown().rejectedStrings().count("d"));
  EXPECT_EQ(shown().rejectedStrings().size(), 1u);
  std::vector<std::string> issues;
  for (const auto& request : platform_sent()) {
    if (request.url.find("/issues") != std::string::npos) issues.push_back(request.body);
  }
  ASSERT_EQ(issues.size(), 1u);  // e only: a's upload failed, d's rejection failed
  EXPECT_THAT(issues[0], HasSubstr("h-e"));
  EXPECT_TRUE(platform().files.fileExists(shown().dirtyFilePath()));
  EXPECT_EQ(popup_->unsavedChanges(), 2u);
  // The menu says what happened, string by string, in the server's words.
  EXPECT_EQ(popup_->sections()[3].footer,
            u"2 of 4 changes sent. Not sent:\na: \u2068no\u2069\nd: refused");
}

TEST_F(ReviewTest, TheStackCountsItsCardsShowsDecisionsAndSaysWhatItIsBusyWith) {
  shown().setDirtyGroup("a", group("a", u"A edited"));
  auto rejected = group("b", u"B");
  rejected->status = KVStringStatusRejected;
  rejected->rejectReason = u"WRONG_TERM";
  rejected->rejectDescription = u"Use the glossary";
  shown().rejectedStrings()["b"] = rejected;
  // Where "b" was seen: the review shows it on its card.
  auto capture = std::make_shared<KVWindowCapture>();
  capture->regions.push_back({u"B", {"b"}, KVRect{4, 5, 6, 7}});
  kv_keepCapture(capture);
  popup_->selectRow(3, 0);
  auto screen = host_->top<KVReviewViewController>();
  ASSERT_NE(screen, nullptr);
  EXPECT_EQ(screen->busyText(), u"Loading changes\u2026");  // the current text is on its way
  platform().queue.runAll();
  EXPECT_EQ(screen->busyText(), u"");
  EXPECT_EQ(screen->counterText(), u"1 of 2");
  const auto cards = screen->cards();
  ASSERT_EQ(cards.size(), 2u);
  EXPECT_EQ(cards[1].myStatusCode, KVStringStatusRejected);
  EXPECT_EQ(cards[1].rejectReason.substr(cards[1].rejectReason.find(u':')), u": Use the glossary");
  EXPECT_EQ(cards[0].capture, nullptr);
  EXPECT_EQ(cards[1].capture, capture);
  EXPECT_EQ(cards[1].captureRect.width, 6);
  kv_forgetCaptures();
  screen->keep();
  screen->cardWasThrown();
  EXPECT_EQ(screen->counterText(), u"2 of 2");

  screen->keep();
  screen->cardWasThrown();
  EXPECT_EQ(screen->busyText(), u"Sending 2 changes\u2026");
  platform().queue.runAll();
  EXPECT_EQ(popup_->sections()[3].footer, u"2 changes sent");
}

TEST_F(ReviewTest, AcceptedStringsAreSubmittedBeforeRejectedOnesAndOnlyRefusalsStay) {
  auto accepted = group("a", u"A");
  accepted->status = KVStringStatusAccepted;
  auto refused = group("b", u"B");
  refused->status = KVStringStatusAccepted;
  shown().acceptedStrings() = {{"a", accepted}, {"b", refused}};
  shown().rejectedStrings()["c"] = group("c", u"C");
  failures = {{{"hashcode", "h-b"}, {"reason", "Not in this step"}}};
  review({true, true, true});
  std::vector<std::string> order;
  for (const auto& request : platform_sent()) {
    for (const char* step : {"/submittedStrings", "/rejectedStrings", "/issues"}) {
      if (request.url.find(step) != std::string::npos) order.push_back(step);
    }
  }
  EXPECT_THAT(order, ElementsAre("/submittedStrings", "/rejectedStrings", "/issues"));
  const auto submitted =
      std::find_if(platform_sent().begin(), platform_sent().end(),
                   [](const auto& r) { return r.url.find("/submitted") != std::string::npos; });
  ASSERT_NE(submitted, platform_sent().end());
  EXPECT_THAT(submitted->body, HasSubstr("h-a"));
  EXPECT_THAT(submitted->body, HasSubstr("h-b"));
  EXPECT_THAT(submitted->body, ::testing::Not(HasSubstr("h-c")));
  // Only what the server refused is still to send, and it is saved so.
  EXPECT_EQ(shown().acceptedStrings().size(), 1u);
  EXPECT_TRUE(shown().acceptedStrings().count("b"));
  EXPECT_TRUE(shown().rejectedStrings().empty());
  EXPECT_TRUE(platform().defaults.objectForKey("KVStatuses")->contains("b"));
}

TEST_F(ReviewTest, EveryStringIsOnTheServerOrOnTheDeviceAtEveryStepOfTheSending) {
  shown().setDirtyGroup("a", group("a", u"A edited"));
  shown().setDirtyGroup("c", group("c", u"C edited"));
  shown().rejectedStrings()["d"] = group("d", u"D");
  shown().acceptedStrings()["b"] = group("b", u"B");
  ASSERT_EQ(shown().saveDirty(), std::nullopt);
  importErrors = {{{"stringHashCode", "h-a"}, {"messages", {"no"}}}};
  // What the device holds each time the app sends the next step: a kill there keeps it.
  std::vector<std::pair<std::size_t, bool>> onDevice;
  platform().transport.answer = [this, &onDevice](const HttpRequest& request) {
    if (request.url.find("Strings") != std::string::npos) {
      const auto edited = platform().files.readFile(shown().dirtyFilePath());
      const auto statuses = platform().defaults.objectForKey("KVStatuses");
      onDevice.emplace_back(
          edited ? KVXliffParser::parseXliffData(*edited, 0, nullptr).count("a") : 0,
          statuses && statuses->contains("d"));
    }
    return route(request);
  };
  review({true, true, true, true});
  // The upload was answered: a, refused, is written back before the submission goes out; d's
  // rejection stays saved until the server took it.
  EXPECT_THAT(onDevice, ElementsAre(std::pair<std::size_t, bool>(1, true),
                                    std::pair<std::size_t, bool>(1, true)));
  EXPECT_EQ(
      KVXliffParser::parseXliffData(*platform().files.readFile(shown().dirtyFilePath()), 0, nullptr)
          .size(),
      1u);
  EXPECT_FALSE(platform().defaults.objectForKey("KVStatuses")->contains("d"));
}

TEST_F(ReviewTest, AFullDiskIsToldInWordsAndTheChangeIsSavedAtTheNextChance) {
  platform().files.fail(testing::FaultyFileSystem::Call::writeFileAtomically, "_edited.xlf");
  shown().setDirtyGroup("a", group("a", u"A edited"));
  EXPECT_TRUE(shown().saveDirty().has_value());
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts[0].message,
            u"Your change could not be saved on this device: the disk is full.");
  popup_->reload();
  EXPECT_EQ(popup_->sections()[3].footer,
            u"Not saved on this device yet: these changes are lost if the app closes.");

  platform().files.heal();
  openMenu();
  EXPECT_TRUE(shown().changesKeptOnDevice());
  EXPECT_TRUE(platform().files.fileExists(shown().dirtyFilePath()));
  EXPECT_EQ(popup_->sections()[3].footer, u"");
}

TEST_F(ReviewTest, AFailedUploadStopsTheSequenceAndKeepsEverything) {
  shown().setDirtyGroup("a", group("a", u"A edited"));
  shown().acceptedStrings()["b"] = group("b", u"B");
  failing = {"/import"};
  review({true, true});
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts[0].title, u"Error saving strings");
  EXPECT_FALSE(sentTo("submittedStrings"));
  EXPECT_EQ(shown().dirtyStrings().size(), 1u);
  EXPECT_EQ(shown().acceptedStrings().size(), 1u);
  EXPECT_EQ(host_->top<KVActionsPopup>(), popup_);
}

TEST_F(ReviewTest, AFailedDownloadOfTheCurrentTextLeavesTheScreen) {
  shown().setDirtyGroup("a", group("a", u"A edited"));
  failing = {"/export"};
  popup_->selectRow(3, 0);
  platform().queue.runAll();
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts[0].title, u"Error pulling strings");
  EXPECT_EQ(host_->top<KVActionsPopup>(), popup_);
  EXPECT_EQ(shown().dirtyStrings().size(), 1u);
}

}  // namespace
}  // namespace kolvane
