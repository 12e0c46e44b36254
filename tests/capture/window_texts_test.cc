// The texts of a window: what the inventory finds in a tree of views (pages not shown, menus,
// attached texts), the problems it reports, and the list that filters, counts and opens them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/capture_fixture.h"
#include "capture/view_capture.h"
#include "capture/window_inventory.h"
#include "support/fake_host_views.h"
#include "tool-ui/actions_popup.h"
#include "tool-ui/window_texts_list.h"

namespace kolvane {
namespace {

using testing::addLabel;
using testing::attach;
using testing::attachText;
using testing::cued;
using ::testing::ElementsAre;
using testing::FakeContainer;
using testing::FakeLabel;
using testing::FakeWindow;

class WindowTextsTest : public testing::CaptureTest {
 protected:
  void SetUp() override {
    CaptureTest::SetUp();
    showFrench({{"sent", u"Envoyé %@ aujourd'hui"}, {"hi", u"Salut"}, {"file", u"un fichier"}});
    window_->appName = "Inbox";
    window_->rect = KVRect{0, 0, 400, 300};
    host_->window = window_;
    KolvaneTool::setHost(host_);
  }
  void TearDown() override {
    KolvaneTool::setHost(nullptr);
    CaptureTest::TearDown();
  }
  // A page of the window, shown or not.
  std::shared_ptr<FakeContainer> page(std::string name, bool shown) {
    auto page = std::make_shared<FakeContainer>();
    page->appName = std::move(name);
    page->parent = window_;
    if (shown) page->rect = KVRect{0, 0, 400, 300};
    window_->pages.push_back(page);
    return page;
  }
  std::shared_ptr<FakeLabel> shownLabel(const std::shared_ptr<FakeContainer>& parent,
                                        const std::u16string& text) {
    auto label = addLabel(parent, cued(text));
    label->rect = KVRect{10, 20, 100, 16};
    return label;
  }
  std::vector<KVInventoryEntry> inventory() { return kv_windowInventory(window_); }
  static std::vector<std::u16string> texts(const std::vector<KVWindowTextRow>& rows) {
    std::vector<std::u16string> found;
    for (const auto& row : rows) found.push_back(row.text);
    return found;
  }
  static std::vector<std::u16string> texts(const std::vector<KVInventoryEntry>& entries) {
    std::vector<std::u16string> found;
    for (const auto& entry : entries) found.push_back(entry.row.text);
    return found;
  }
  const KVInventoryEntry& entryOf(const std::vector<KVInventoryEntry>& entries,
                                  const std::u16string& text) {
    for (const auto& entry : entries) {
      if (entry.row.text == text) return entry;
    }
    ADD_FAILURE() << "no entry";
    return entries.front();
  }

  std::shared_ptr<FakeWindow> window_ = std::make_shared<FakeWindow>();
  std::shared_ptr<testing::FakeToolHost> host_ = std::make_shared<testing::FakeToolHost>();
};

TEST_F(WindowTextsTest, TheInventoryHoldsHiddenPagesMenusAndAttachedTextsWithTheirPlaces) {
  attachText(window_, "title", cued(u"[Salut]"));
  auto inbox = page("inbox", true);
  auto send = shownLabel(inbox, u"[Envoyé {Ann} aujourd'hui]");
  attachText(send, "tooltip", cued(u"[un fichier]"));
  auto settings = page("settings", false);
  addLabel(settings, cued(u"[Hi]"));
  auto menus = attach(inbox, std::make_shared<FakeContainer>());
  menus->appName = "menu bar";
  auto file = attach(menus, std::make_shared<FakeContainer>());
  file->appName = "File";
  attachText(file, "title", cued(u"[un fichier]"));
  auto open = addLabel(file, cued(u"[Salut]"));
  open->appName = "Salut";

  const auto entries = inventory();
  EXPECT_THAT(texts(entries), ElementsAre(u"Salut", u"un fichier", u"Envoyé Ann aujourd'hui",
                                          u"un fichier", u"Salut", u"Hi"));
  std::vector<std::u16string> places;
  for (const auto& entry : entries) places.push_back(entry.row.place);
  // Places are within the window, which adds no name of its own.
  EXPECT_THAT(places, ElementsAre(u"title", u"inbox > Label > tooltip", u"inbox > Label",
                                  u"inbox > menu bar > File > title",
                                  u"inbox > menu bar > File > Salut", u"settings > Label"));
  const KVWindowTextRow& sent = entries[2].row;
  ASSERT_EQ(sent.strings.size(), 1u);
  EXPECT_EQ(sent.strings[0].key, "sent");
  EXPECT_TRUE(sent.onScreen);
  EXPECT_EQ(sent.problems, 0u);
  // The page not shown is listed, not on screen; its English text is what the base answers,
  // but French is shown: it was never looked up again.
  EXPECT_FALSE(entries[5].row.onScreen);
  EXPECT_EQ(entries[5].row.problems, unsigned{kKVTextStale});
}

TEST_F(WindowTextsTest, AViewUnderItselfIsLookedAtOnce) {
  auto menu = attach(page("inbox", true), std::make_shared<FakeContainer>());
  addLabel(menu, cued(u"[Salut]"));
  menu->children.push_back(menu);  // a menu holding itself as a submenu, twice
  menu->children.push_back(menu);
  EXPECT_THAT(texts(inventory()), ElementsAre(u"Salut"));
  EXPECT_EQ(kolvaneStringsInSubviews(window_).size(), 1u);
  menu->children.clear();  // the fakes hold each other: let them go
}

TEST_F(WindowTextsTest, NestedStringsAreListedOutermostFirstWithTheirStatuses) {
  french_->setDirtyGroup("file", testing::groupsOf({{"file", u"un dossier"}})["file"]);
  french_->acceptedStrings()["hi"] = testing::groupsOf({{"hi", u"Salut"}})["hi"];
  auto inbox = page("inbox", true);
  shownLabel(inbox, u"[Envoyé {[un dossier]} aujourd'hui]");
  shownLabel(inbox, u"[Salut]");
  setBase({{"sent", u"Sent %@ today"}, {"new", u"New"}});
  shownLabel(inbox, u"[New]");

  const auto entries = inventory();
  ASSERT_EQ(entries.size(), 3u);
  const auto& nested = entries[0].row.strings;
  ASSERT_EQ(nested.size(), 2u);
  EXPECT_EQ(nested[0].key, "sent");
  EXPECT_EQ(nested[0].status, KVTextStatus::translated);
  EXPECT_EQ(nested[1].key, "file");
  EXPECT_EQ(nested[1].status, KVTextStatus::edited);
  EXPECT_EQ(entries[1].row.strings[0].status, KVTextStatus::accepted);
  EXPECT_EQ(entries[2].row.strings[0].status, KVTextStatus::notYetTranslated);
  EXPECT_EQ(kv_textStatusName(KVTextStatus::notYetTranslated), u"not yet translated");
}

TEST_F(WindowTextsTest, TextsWithoutCuesAreNotTranslatableUnlessTheyAreData) {
  auto inbox = page("inbox", true);
  shownLabel(inbox, u"Hard-coded title");
  shownLabel(inbox, u"[Salut]");
  shownLabel(inbox, u"12:30");
  shownLabel(inbox, u"25 Nov 2026");
  shownLabel(inbox, u"Ann's draft")->data = true;  // typed in a field, or marked by the app
  shownLabel(inbox, u"   ");                       // shows nothing

  const auto entries = inventory();
  EXPECT_THAT(texts(entries),
              ElementsAre(u"Hard-coded title", u"Salut", u"12:30", u"25 Nov 2026", u"Ann's draft"));
  EXPECT_EQ(entries[0].row.problems, unsigned{kKVTextNotTranslatable});
  for (std::size_t i = 1; i < entries.size(); ++i) EXPECT_EQ(entries[i].row.problems, 0u) << i;
}

TEST_F(WindowTextsTest, ATextIsStaleWhenItsStringsAreNotWhatTheLookupAnswersNow) {
  auto inbox = page("inbox", true);
  shownLabel(inbox, u"[Salut]");
  shownLabel(inbox, u"[Hi]");    // English from before French was chosen
  shownLabel(inbox, u"[Hola]");  // a string no store holds any more
  french_->setDirtyGroup("hi", testing::groupsOf({{"hi", u"Bonjour"}})["hi"]);
  enableEditing();  // the edit is what the lookup answers now
  const auto entries = inventory();
  EXPECT_EQ(entryOf(entries, u"Salut").row.problems, unsigned{kKVTextStale});
  EXPECT_EQ(entryOf(entries, u"Hi").row.problems, unsigned{kKVTextStale});
  EXPECT_EQ(entryOf(entries, u"Hola").row.problems, unsigned{kKVTextStale});
  EXPECT_TRUE(entryOf(entries, u"Hola").row.strings.empty());

  shownLabel(inbox, u"[Bonjour]");
  EXPECT_EQ(entryOf(inventory(), u"Bonjour").row.problems, 0u);
}

TEST_F(WindowTextsTest, TracedTextsWiderThanTheirBoxAreCutOffAndSoAreElidedOnes) {
  auto inbox = page("inbox", true);
  KVTextBox narrow;
  narrow.width = 40;
  narrow.advance = [](std::u16string_view text) { return 10.0 * static_cast<double>(text.size()); };
  shownLabel(inbox, u"[Salut]")->box = narrow;
  shownLabel(inbox, u"[Hi]")->box = narrow;
  shownLabel(inbox, u"[Envoyé {Ann} auj\u2026");
  const auto entries = inventory();
  EXPECT_EQ(entries[0].row.problems, unsigned{kKVTextCutOff});
  EXPECT_EQ(entries[1].row.problems, unsigned{kKVTextStale});
  EXPECT_NE(entries[2].row.problems & kKVTextCutOff, 0u);
}

TEST_F(WindowTextsTest, TheListCountsFiltersAndOpensARowAsALongPressWould) {
  auto inbox = page("inbox", true);
  shownLabel(inbox, u"[Salut]");
  shownLabel(inbox, u"Hard-coded");
  auto hidden = page("settings", false);
  addLabel(hidden, cued(u"[un fichier]"));
  french_->rejectedStrings()["file"] = testing::groupsOf({{"file", u"un fichier"}})["file"];

  const auto list = KVWindowTextsList::show();
  ASSERT_EQ(host_->windowTexts, list);
  EXPECT_EQ(list->summary(), u"3 texts, 1 not translatable");
  list->setFilter({KVTextStatus::rejected, 0});
  EXPECT_THAT(texts(list->rows()), ElementsAre(u"un fichier"));
  list->setFilter({std::nullopt, kKVTextNotTranslatable | kKVTextCutOff});
  EXPECT_THAT(texts(list->rows()), ElementsAre(u"Hard-coded"));

  // Nothing to edit in a hard-coded text: its place is shown, no screen opens.
  list->selectRow(0);
  ASSERT_EQ(host_->flashed.size(), 1u);
  EXPECT_EQ(host_->flashed[0].x, 10);
  EXPECT_FALSE(host_->presented);

  list->setFilter({});
  list->selectRow(0);
  EXPECT_FALSE(host_->presented) << "nobody signed in";
  enableEditing();
  list->selectRow(0);
  ASSERT_TRUE(host_->presented);
  ASSERT_EQ(host_->presented->pageCount(), 1u);
  EXPECT_EQ(host_->presented->page(0).key, "hi");
  // A text on a page not shown opens too, without a place to show.
  list->selectRow(2);
  EXPECT_EQ(host_->presented->page(0).key, "file");
  EXPECT_EQ(host_->flashed.size(), 3u);
  list->selectRow(7);  // past the end: nothing
  EXPECT_EQ(host_->flashed.size(), 3u);
}

TEST_F(WindowTextsTest, TheMenuCountsTheTextsSwitchesPseudoAndRightToLeftAndOpensTheList) {
  auto inbox = page("inbox", true);
  shownLabel(inbox, u"[Salut]");
  shownLabel(inbox, u"Hard-coded");
  logIn();
  auto menu = KVActionsPopup::show();
  platform().queue.runAll();  // the project's workflows, unanswered here
  const auto sections = menu->sections();
  const std::size_t last = sections.size() - 1;
  ASSERT_EQ(sections[last].rows.size(), 4u);
  EXPECT_EQ(sections[last].rows[0].title, u"Texts of this window");
  EXPECT_EQ(sections[last].rows[0].detail, u"2 texts, 1 not translatable");
  const auto switches = [&] {
    const auto rows = menu->sections()[last].rows;
    return std::vector<std::u16string>{rows[1].detail, rows[2].detail};
  };
  EXPECT_THAT(switches(), ElementsAre(u"Off", u"Off"));
  menu->selectRow(last, 1);
  menu->selectRow(last, 2);
  EXPECT_THAT(switches(), ElementsAre(u"On", u"On"));
  EXPECT_TRUE(KolvaneTool::pseudoTranslation());
  EXPECT_TRUE(host_->rightToLeft);
  EXPECT_EQ(host_->stringChanges, 1);  // the app looks its texts up again
  menu->selectRow(last, 1);
  menu->selectRow(last, 2);
  EXPECT_THAT(switches(), ElementsAre(u"Off", u"Off"));
  EXPECT_FALSE(host_->rightToLeft);
  EXPECT_EQ(host_->stringChanges, 2);

  menu->selectRow(last, 0);
  EXPECT_TRUE(host_->screens.empty());  // the menu made room for the list
  ASSERT_TRUE(host_->windowTexts);
  EXPECT_EQ(host_->windowTexts->rows().size(), 2u);
}

}  // namespace
}  // namespace kolvane
