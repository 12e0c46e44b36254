// Pseudo-translation and right to left: the transform of an answer and its way back, and a
// window traced while it shows pseudo-translated texts.
#include "capture/display_checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/utf.h"
#include "capture/capture_fixture.h"
#include "capture/window_inventory.h"
#include "kolvane/tool.h"
#include "support/fake_host_views.h"

namespace kolvane {
namespace {

using testing::cued;
using testing::shown;

std::u16string pseudo(const std::u16string& text) { return kv_pseudoTranslated(cued(text)); }

TEST(PseudoTranslationTest, AnswersAreAccentedLongerAndBracketedWithPlaceholdersKept) {
  EXPECT_EQ(shown(pseudo(u"[Open {%1}]")), u"[[\u022E\u1E57\u0229\u1E45 {%1} ~~]]");
  const std::u16string sentence = u"[Every text on screen can be reviewed in place.]";
  const std::u16string longer = kv_stringByRemovingCues(pseudo(sentence));
  EXPECT_GE(longer.size(), kv_stringByRemovingCues(cued(sentence)).size() * 14 / 10);
  for (char16_t c : longer) EXPECT_FALSE((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'));
  // Qt's placeholders and printf's are left for the app to fill; a translation's own accents
  // and signs stay.
  EXPECT_EQ(shown(pseudo(u"[{%n} é {%1$@}]")), u"[[{%n} é {%1$@} ~~]]");
  // Text without cues is not an answer of the lookup.
  EXPECT_EQ(kv_pseudoTranslated(u"Hard-coded"), u"Hard-coded");
}

TEST(PseudoTranslationTest, TheWayBackGivesTheTextAsItWasNestedStringsIncluded) {
  for (const char16_t* text : {u"[Open {%1}]", u"[Envoyé à {%n} personnes]", u"[[Draft] ~]", u"[~]",
                               u"[]", u"Plain [text] ~~]", u"[Ünïcode 😀 {%d}]"}) {
    EXPECT_EQ(shown(kv_withoutPseudoTranslation(pseudo(text))), text) << toUtf8(text);
  }
  // The app fills a pseudo-translated format with a pseudo-translated string.
  std::u16string welcome = pseudo(u"[Welcome to {%1}!]");
  const std::u16string name = pseudo(u"[Kolvane Mail]");
  welcome.replace(welcome.find(u"%1"), 2, name);
  EXPECT_EQ(shown(kv_withoutPseudoTranslation(welcome)), u"[Welcome to {[Kolvane Mail]}!]");
}

class DisplayChecksTest : public testing::CaptureTest {
 protected:
  void SetUp() override {
    CaptureTest::SetUp();
    host_->window = window_;
    KolvaneTool::setHost(host_);
  }
  void TearDown() override {
    KolvaneTool::setPseudoTranslation(false);
    KolvaneTool::setRightToLeft(false);
    KolvaneTool::setHost(nullptr);
    CaptureTest::TearDown();
  }
  std::shared_ptr<testing::FakeWindow> window_ = std::make_shared<testing::FakeWindow>();
  std::shared_ptr<testing::FakeToolHost> host_ = std::make_shared<testing::FakeToolHost>();
};

TEST_F(DisplayChecksTest, APseudoTranslatedWindowTracesToItsStringsAndItsProblemsStandOut) {
  auto page = std::make_shared<testing::FakeContainer>();
  page->parent = window_;
  window_->pages.push_back(page);
  KolvaneTool::setPseudoTranslation(true);
  EXPECT_EQ(host_->stringChanges, 1);  // the app looks its texts up again
  std::u16string sent = kv_pseudoTranslated(cued(u"[Sent {%@} today]"));
  sent.replace(sent.find(u"%@"), 2, u"Ann");
  auto label = testing::addLabel(page, sent);
  KVTextBox box;
  box.width = 150;  // "Sent Ann today" fits; its pseudo-translation does not
  box.advance = [](std::u16string_view text) { return 10.0 * static_cast<double>(text.size()); };
  label->box = box;
  testing::addLabel(page, u"Hard-coded");

  const auto entries = kv_windowInventory(window_);
  ASSERT_EQ(entries.size(), 2u);
  ASSERT_EQ(entries[0].row.strings.size(), 1u);
  EXPECT_EQ(entries[0].row.strings[0].key, "sent");
  EXPECT_EQ(entries[0].row.problems, unsigned{kKVTextCutOff});
  EXPECT_EQ(entries[1].row.problems, unsigned{kKVTextNotTranslatable});

  KolvaneTool::setPseudoTranslation(true);  // already on: nothing to look up again
  EXPECT_EQ(host_->stringChanges, 1);
  EXPECT_EQ(shown(KolvaneTool::shownAnswer(cued(u"[Hi]"))), u"[[\u1E22\u0268 ~]]");
  KolvaneTool::setPseudoTranslation(false);
  EXPECT_EQ(host_->stringChanges, 2);
  EXPECT_EQ(KolvaneTool::shownAnswer(cued(u"[Hi]")), cued(u"[Hi]"));
}

}  // namespace
}  // namespace kolvane
