// Presses on host views, the controls' own texts, and editing on the edition screen's model.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/utf.h"
#include "capture/capsules.h"
#include "capture/capture_fixture.h"
#include "capture/control_text.h"
#include "capture/edition_view_controller.h"
#include "core/workflow_step.h"
#include "kolvane/tool.h"
#include "server/session.h"
#include "support/fake_host_views.h"
#include "tool-ui/actions_popup.h"

namespace kolvane {
namespace {

using testing::attach;
using testing::cued;
using ::testing::ElementsAre;
using testing::shown;

class EditionTest : public testing::CaptureTest {
 protected:
  void SetUp() override {
    CaptureTest::SetUp();
    showFrench({{"sent", u"Envoyé %@ aujourd'hui"}, {"hi", u"Salut"}});
    enableEditing();
    host_ = std::make_shared<testing::FakeToolHost>();
    host_->window = window_;
    window_->pages.push_back(page_);
    page_->parent = window_;
    KolvaneTool::setHost(host_);
  }
  void TearDown() override {
    KolvaneTool::setHost(nullptr);
    CaptureTest::TearDown();
  }
  void allowReview() {
    auto step = std::make_shared<KVWorkflowStep>(*controller().workflowStep());
    step->canSubmit = step->canReject = true;
    controller().setWorkflowStep(step);
  }
  std::shared_ptr<KVEditionViewController> press(const std::shared_ptr<KVHostView>& view) {
    return std::static_pointer_cast<KVEditionViewController>(KolvaneTool::triggerEdition(view));
  }
  // Pages come latest string first: the page of `key`.
  static std::size_t pageOf(const KVEditionScreen& screen, const std::string& key) {
    for (std::size_t page = 0; page < screen.pageCount(); ++page) {
      if (screen.page(page).key == key) return page;
    }
    ADD_FAILURE() << "no page for " << key;
    return 0;
  }
  static KVAttributedText typed(const std::u16string& text,
                                std::vector<std::string> capsules = {}) {
    // "@" stands for the next capsule.
    KVAttributedText attributed;
    std::size_t next = 0;
    for (char16_t c : text) {
      if (c == u'@' && next < capsules.size()) {
        attributed.append(std::u16string(1, kKVCapsuleCharacter),
                          {{kKVCapsuleFormat, capsules[next++]}});
      } else {
        attributed.append(std::u16string(1, c), {});
      }
    }
    return attributed;
  }

  std::shared_ptr<testing::FakeToolHost> host_;
  std::shared_ptr<testing::FakeWindow> window_ = std::make_shared<testing::FakeWindow>();
  std::shared_ptr<testing::FakeContainer> page_ = std::make_shared<testing::FakeContainer>("Page");
};

TEST_F(EditionTest, APressFindsTheLabelsUnderItOrClimbsToTheFirstAncestorWithSome) {
  const auto box = attach(page_, std::make_shared<testing::FakeContainer>("Box"));
  const auto empty = attach(box, std::make_shared<testing::FakeContainer>("Empty"));
  const auto button = attach(box, std::make_shared<testing::FakeButton>());
  testing::addLabel(button, cued(u"[Salut]"));

  const auto onButton = press(button);
  ASSERT_TRUE(onButton);
  EXPECT_EQ(onButton->page(0).key, "hi");
  EXPECT_EQ(host_->presentedAnchor, button);

  const auto onEmpty = press(empty);
  ASSERT_TRUE(onEmpty);
  EXPECT_EQ(host_->presentedAnchor, box);

  host_->presented.reset();
  EXPECT_FALSE(press(window_));  // the window itself has no superview
  controller().setWorkflowStep(nullptr);
  EXPECT_FALSE(press(button));
  EXPECT_FALSE(host_->presented);
}

TEST_F(EditionTest, ControlsTakeTheNewTextOfTheirLabel) {
  const auto button = attach(page_, std::make_shared<testing::FakeButton>());
  const auto title = testing::addLabel(button, cued(u"[Hi]"));
  const auto header = attach(page_, std::make_shared<testing::FakeHeader>());
  testing::addLabel(header, cued(u"[Hi]"));
  const auto list = attach(page_, std::make_shared<testing::FakeList>());
  testing::addLabel(list, cued(u"[Hi]"));
  const auto captures = kolvaneStringsInSubviews(page_);
  ASSERT_EQ(captures.size(), 3u);
  for (const auto& capture : captures) capture->kolvaneStringsInString();
  EXPECT_THAT(captures[0]->description(),
              ::testing::StartsWith("<KVViewStrings attributed string [Hi] - view Label - "
                                    "kolvaneStrings (<KVString"));
  EXPECT_EQ(KVViewStrings().description(), "<KVViewStrings empty>");

  setBase({{"hi", u"Hello"}});
  for (const auto& capture : captures) capture->updateView();
  EXPECT_EQ(shown(title->text->string()), u"[Hello]");
  ASSERT_TRUE(button->attributedTitle);
  EXPECT_EQ(shown(button->attributedTitle->string()), u"[Hello]");
  EXPECT_EQ(shown(header->textLabelText()), u"[HELLO]");
  EXPECT_EQ(list->reloads, 1);
  EXPECT_EQ(page_->layouts, 3);
  EXPECT_EQ(window_->layouts, 3);

  testing::FakeSegments segments;
  segments.titles = {u"Same", u"Same"};
  kolvaneUpdateText(segments, u"Same", nullptr, u"New");
  EXPECT_THAT(segments.titles, ElementsAre(u"New", u"Same"));

  testing::FakeTextField field;
  field.placeholder = std::make_shared<std::u16string>(u"Search");
  const std::u16string equal = u"Search";
  kolvaneUpdateText(field, equal, &equal, u"Chercher");
  EXPECT_EQ(*field.placeholder, u"Search");  // equal, not the same object
  kolvaneUpdateText(field, *field.placeholder, field.placeholder.get(), u"Chercher");
  EXPECT_EQ(*field.placeholder, u"Chercher");

  // A text view takes the new text only while it still shows the old one: what the user typed
  // into it stays.
  testing::FakeTextView notes;
  notes.text = KVAttributedText(u"Typed by the user");
  kolvaneUpdateText(notes, u"Old", nullptr, u"New");
  kolvaneUpdateAttributedText(notes, KVAttributedText(u"Old"), KVAttributedText(u"New"));
  EXPECT_EQ(notes.text.string(), u"Typed by the user");
  notes.text = KVAttributedText(u"Old");
  kolvaneUpdateText(notes, u"Old", nullptr, u"New");
  EXPECT_EQ(notes.text.string(), u"New");
  kolvaneUpdateAttributedText(notes, KVAttributedText(u"New"), KVAttributedText(u"Newer"));
  EXPECT_EQ(notes.text.string(), u"Newer");
}

TEST_F(EditionTest, SavingWritesAFirstTranslationAndRefreshesEachCaptureOnce) {
  showFrench({{"sent", u"Envoyé %@ aujourd'hui"}});  // "file" was never translated
  const auto label = testing::addLabel(page_, cued(u"[Envoyé {[a file]} aujourd'hui]"));
  const auto screen = press(page_);
  ASSERT_TRUE(screen);
  ASSERT_EQ(screen->pageCount(), 2u);
  EXPECT_EQ(screen->page(0).key, "file");
  screen->textViewDidChange(0, typed(u"un fichier"));
  screen->validate();

  const auto& dirty = french_->dirtyStrings();
  ASSERT_EQ(dirty.count("file"), 1u);
  const auto form = dirty.at("file")->stringForPluralForm(std::nullopt, true);
  EXPECT_EQ(shown(form->localizedFormat), u"[un fichier]");
  EXPECT_FALSE(form->fromBase);
  EXPECT_EQ(french_->kolvaneStringForKey("sent", std::nullopt)->key, "sent");
  // Two records in one label, refreshed once by the edition and once by the window.
  EXPECT_EQ(label->updates, 2);
  EXPECT_TRUE(screen->isClosed());
  EXPECT_THAT(host_->dismissals, ElementsAre(true));
  EXPECT_EQ(host_->stringChanges, 1);
}

TEST_F(EditionTest, PlaceholderCountsMismatchingStopTheSaveWithTheAlert) {
  setBase({{"sent", u"Sent %@ today"}, {"pair", u"%1$@ and %2$@"}, {"hi", u"Hi"}});
  showFrench({{"sent", u"Envoyé %@"}, {"pair", u"%1$@ et %2$@"}, {"hi", u"Salut"}});
  testing::addLabel(page_, cued(u"[Envoyé {x}][{a} et {b}][Salut]"));
  const auto screen = press(page_);
  ASSERT_TRUE(screen);
  ASSERT_EQ(screen->pageCount(), 3u);
  // Capsules swapped in order still count as two.
  const std::size_t sent = pageOf(*screen, "sent");
  const std::size_t pair = pageOf(*screen, "pair");
  screen->textViewDidChange(pair, typed(u"@ puis @", {"%2$@", "%1$@"}));
  screen->textViewDidChange(sent, typed(u"Envoyé %@"));  // typed by hand: no capsule
  screen->validate();
  ASSERT_TRUE(screen->alert());
  EXPECT_EQ(screen->alert()->title, u"Validation error");
  EXPECT_EQ(screen->alert()->message, u"Incorrect number of value placeholders for 1 string.");
  // Closing the alert keeps editing; only its second button throws the edits away.
  EXPECT_EQ(screen->alert()->cancelButtonTitle, u"Keep editing");
  EXPECT_THAT(screen->alert()->otherButtonTitles, ElementsAre(u"Cancel changes"));

  screen->textViewDidChange(pair, typed(u"@ seul", {"%1$@"}));
  screen->textViewDidChange(pageOf(*screen, "hi"), typed(u"Coucou @", {"%@"}));
  screen->validate();
  EXPECT_EQ(screen->alert()->message, u"Incorrect number of value placeholders for 3 strings.");
  screen->alertButtonClicked(1);
  EXPECT_TRUE(screen->isClosed());
  EXPECT_TRUE(french_->dirtyStrings().empty());
  EXPECT_EQ(host_->stringChanges, 0);
}

TEST_F(EditionTest, KeepEditingReturnsToTheFailingPageAndFormWithTheTextAsTyped) {
  setBase({{"sent", u"Sent %@ today"},
           {"files[one]", u"%d file"},
           {"files[other]", u"%d files"},
           {"hi", u"Hi"}});
  showFrench({{"sent", u"Envoyé %@"},
              {"files[one]", u"%d fichier"},
              {"files[other]", u"%d fichiers"},
              {"hi", u"Salut"}});
  testing::addLabel(page_, cued(u"[Envoyé {x}][{1} fichier][Salut]"));
  const auto screen = press(page_);
  ASSERT_TRUE(screen);
  const std::size_t sent = pageOf(*screen, "sent");
  const std::size_t files = pageOf(*screen, "files");
  const std::size_t hi = pageOf(*screen, "hi");
  screen->changePluralForm(files, 1);
  screen->textViewDidChange(files, typed(u"des fichiers"));  // "other" lost its capsule
  screen->changePluralForm(files, 0);
  screen->textViewDidChange(sent, typed(u"Envoyé"));
  screen->textViewDidChange(hi, typed(u"Coucou"));
  screen->scrollViewDidScroll(320.0 * static_cast<double>(hi), 320);

  // Not in view when it failed: the first failing page comes back.
  screen->validate();
  screen->alertButtonClicked(0);
  EXPECT_FALSE(screen->alert());
  EXPECT_FALSE(screen->isClosed());
  EXPECT_EQ(screen->currentPage(), std::min(sent, files));
  EXPECT_EQ(screen->page(sent).fieldText.string(), u"Envoyé");
  EXPECT_TRUE(french_->dirtyStrings().empty());

  // In view when it failed: it stays, in the form that failed.
  screen->scrollViewDidScroll(320.0 * static_cast<double>(files), 320);
  screen->validate();
  screen->alertButtonClicked(0);
  EXPECT_EQ(screen->currentPage(), files);
  EXPECT_EQ(screen->selectedPluralForm(files), "other");
  EXPECT_EQ(screen->page(files).fieldText.string(), u"des fichiers");
}

TEST_F(EditionTest, TheMenuGestureAndLogoutGoThroughCloseAndStopAtItsAlert) {
  testing::addLabel(page_, cued(u"[Envoyé {x} aujourd'hui][Salut]"));
  const auto screen = press(page_);
  ASSERT_TRUE(screen);
  screen->textViewDidChange(pageOf(*screen, "hi"), typed(u"Coucou"));
  screen->textViewDidChange(pageOf(*screen, "sent"), typed(u"Envoyé"));
  KolvaneTool::triggerActions();
  EXPECT_TRUE(screen->alert());
  EXPECT_TRUE(host_->screens.empty());  // no menu over the alert

  logIn();  // a fresh token: the menu's requests get their (failed) answers
  const auto menu = KVActionsPopup::show();
  platform().queue.runAll();
  menu->selectRow(0, 1);  // "Logout" is held too
  EXPECT_TRUE(KVSession::sharedInstance().isLoggedIn());
  screen->textViewDidChange(pageOf(*screen, "sent"), typed(u"Envoyé @", {"%@"}));
  menu->selectRow(0, 1);
  EXPECT_TRUE(screen->isClosed());
  ASSERT_EQ(host_->alerts.size(), 1u);
  EXPECT_EQ(host_->alerts[0].message,
            u"2 changes have not been sent. Log out and keep them on this device?");
}

TEST_F(EditionTest, PluralFormsAreKeyedByCategoryAndPlainStringsByEmptyName) {
  showFrench({{"files[one]", u"%d fichier"}, {"files[other]", u"%d fichiers"}, {"hi", u"Salut"}});
  testing::addLabel(page_, cued(u"[{3} fichiers][Salut]"));
  const auto screen = press(page_);
  ASSERT_TRUE(screen);
  const std::size_t files = pageOf(*screen, "files");
  const std::size_t hi = pageOf(*screen, "hi");
  EXPECT_THAT(screen->page(files).pluralFormNames, ElementsAre("one", "other"));
  EXPECT_TRUE(screen->page(hi).pluralFormNames.empty());
  // A plural page shows its form's note; the step lets this reviewer type.
  auto noted = std::const_pointer_cast<KVString>(
      french_->kolvaneStringGroupForKey("files")->pluralForms.at("one"));
  noted->note = u"a count of files";
  EXPECT_EQ(screen->page(files).pluralNote, u"a count of files");
  EXPECT_TRUE(screen->page(files).editable);
  auto step = std::make_shared<KVWorkflowStep>(*controller().workflowStep());
  step->canTranslate = false;
  controller().setWorkflowStep(step);
  EXPECT_FALSE(screen->page(files).editable);  // review only
  step = std::make_shared<KVWorkflowStep>(*step);
  step->canTranslate = true;
  controller().setWorkflowStep(step);
  // The page has no source group of its own: its source line shows the stored translation.
  EXPECT_EQ(screen->page(hi).sourceText.string(), u"Salut");
  screen->changePluralForm(files, 1);
  EXPECT_EQ(screen->page(files).fieldText.string(), u"\uFFFC fichiers");
  screen->textViewDidChange(files, typed(u"@ dossiers", {"%d"}));
  screen->textViewDidChange(hi, typed(u"Bonjour"));
  EXPECT_EQ(screen->editionController().validateStrings(), 0u);
  const auto& saved = screen->editionController().stringsToSave();
  EXPECT_EQ(shown(saved.at("files").at("other")), u"[{%d} dossiers]");
  EXPECT_EQ(saved.at("files").count("one"), 0u);
  EXPECT_EQ(shown(saved.at("hi").at("")), u"[Bonjour]");
}

TEST_F(EditionTest, AcceptAndRejectFollowTheStepAndTheStatusAndEditingUndoesThem) {
  testing::addLabel(page_, cued(u"[Envoyé {x} aujourd'hui][Salut]"));
  const auto screen = press(page_);
  ASSERT_TRUE(screen);
  EXPECT_FALSE(screen->acceptEnabled());  // the step only translates
  allowReview();
  screen->scrollViewDidScroll(0, 320);
  EXPECT_TRUE(screen->acceptEnabled());
  EXPECT_TRUE(screen->rejectEnabled());

  screen->accept();
  EXPECT_FALSE(screen->acceptEnabled());
  EXPECT_FALSE(screen->rejectEnabled());
  EXPECT_EQ(screen->page(0).key, "hi");
  EXPECT_EQ(screen->page(0).status, u"Accepted");
  EXPECT_EQ(french_->acceptedStrings().count("hi"), 1u);
  screen->textViewDidChange(0, typed(u"Salut !"));
  EXPECT_TRUE(screen->acceptEnabled());
  EXPECT_EQ(french_->acceptedStrings().count("hi"), 0u);

  screen->scrollViewDidScroll(160, 320);  // half a page is the next page
  EXPECT_EQ(screen->currentPage(), 1u);
  screen->reject();
  EXPECT_EQ(host_->rejectAsked, screen);
  screen->rejectReasonWasGiven("WRONG_TERM", u"Say envoyé");
  EXPECT_EQ(screen->page(1).status, u"Rejected");
  ASSERT_EQ(french_->rejectedStrings().count("sent"), 1u);
  EXPECT_EQ(french_->rejectedStrings().at("sent")->rejectReason, u"WRONG_TERM");
  EXPECT_EQ(french_->rejectedStrings().at("sent")->rejectDescription, u"Say envoyé");
  EXPECT_FALSE(screen->rejectEnabled());
}

TEST_F(EditionTest, AStringOnlyTheBaseHoldsIsAcceptedAndRejectedIntoTheMapsAlike) {
  setBase({{"only.base", u"Only here"}, {"hi", u"Hi"}});
  testing::addLabel(page_, cued(u"[Only here]"));
  allowReview();
  const auto screen = press(page_);
  ASSERT_TRUE(screen);
  ASSERT_EQ(screen->page(0).key, "only.base");
  screen->accept();
  EXPECT_EQ(screen->page(0).status, u"Accepted");
  ASSERT_EQ(french_->acceptedStrings().count("only.base"), 1u);
  EXPECT_EQ(french_->acceptedStrings().at("only.base")->status, KVStringStatusAccepted);

  screen->textViewDidChange(0, typed(u"Seulement ici"));
  EXPECT_EQ(french_->acceptedStrings().count("only.base"), 0u);
  screen->reject();
  screen->rejectReasonWasGiven("WRONG_TERM", u"");
  EXPECT_EQ(french_->acceptedStrings().count("only.base"), 0u);
  EXPECT_EQ(french_->rejectedStrings().count("only.base"), 1u);
}

TEST_F(EditionTest, APageShowsTheDevelopmentTextAndWhatTheAppPutInEachCapsule) {
  showFrench({{"invited", u"%2$@ a été invité par %1$@"}, {"sent", u"Envoyé %@ aujourd'hui"}});
  setBase({{"invited", u"%1$@ invited %2$@"}, {"sent", u"Sent %@ today"}});
  testing::addLabel(page_, cued(u"[{Bob} a été invité par {Ann}]"));
  const auto screen = press(page_);
  ASSERT_TRUE(screen);
  const KVEditionPage page = screen->page(0);
  EXPECT_THAT(toUtf8(page.developmentText), ::testing::EndsWith(": %1$@ invited %2$@"));
  EXPECT_THAT(page.placeholderValues, ElementsAre(u"Bob", u"Ann"));
  // However the capsules are moved, each says its own argument's value.
  EXPECT_EQ(screen->capsuleTip(0, u"%1$@", 0), u"%1$@ = Ann");
  EXPECT_EQ(screen->capsuleTip(0, u"%2$@", 1), u"%2$@ = Bob");
  EXPECT_EQ(screen->capsuleTip(0, u"%3$@", 2), u"%3$@");
}

TEST_F(EditionTest, CapsulesStandForPlaceholdersAndReadBackAsThem) {
  const auto sent = base_->kolvaneStringForKey("sent", std::nullopt);
  const KVAttributedText editing = kv_stringWithCapsules(*sent, kKVFieldCapsuleSize, true);
  EXPECT_EQ(editing.string(), u"Sent \uFFFC today");
  KVRange run;
  const auto capsule = editing.attributesAt(5, {0, editing.string().size()}, &run);
  EXPECT_EQ(run.length, 1u);
  EXPECT_EQ(capsule.at(kKVCapsuleFormat), "%@");
  EXPECT_EQ(capsule.at(kKVCapsuleKey), "variable");
  EXPECT_EQ(capsule.at(kKVCapsuleColor), "#2ca5c8");
  EXPECT_EQ(capsule.at(kKVFontSize), "24");
  const KVAttributedText source = kv_stringWithCapsules(*sent, kKVSourceCapsuleSize, false);
  EXPECT_EQ(source.attributesAt(5, {0, 15}, nullptr).at(kKVCapsuleColor), "grey");

  std::size_t capsules = 0;
  EXPECT_EQ(shown(kv_formatFromEditedText(editing, &capsules)), u"[Sent {%@} today]");
  EXPECT_EQ(capsules, 1u);
  // Two capsules side by side, even in one run, are two placeholders.
  EXPECT_EQ(shown(kv_formatFromEditedText(typed(u"@@", {"%@", "%@"}), &capsules)), u"[{%@}{%@}]");
  EXPECT_EQ(capsules, 2u);
}

}  // namespace
}  // namespace kolvane
