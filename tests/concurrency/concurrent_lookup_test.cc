// Lookups from several threads while the main thread reloads the stores, edits and saves. Run
// under ThreadSanitizer by the test script; in the other builds it checks the answers.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/published.h"
#include "core/workflow_step.h"
#include "kolvane/kolvane.h"
#include "kolvane/lookup.h"
#include "platform/linux/posix_file_system.h"
#include "strings/cues.h"
#include "strings/xliff_parser.h"
#include "support/core_fixture.h"

namespace kolvane {
namespace {

// Keeps the compiler from dropping a lookup whose answer nobody reads.
void benchmark(const std::u16string& answer) {
  static std::atomic<std::size_t> sink{0};
  sink += answer.size();
}

std::string catalogue(const std::string& word, int count) {
  std::string body;
  for (int i = 0; i < count; ++i) {
    const std::string key = "k" + std::to_string(i);
    body += "<trans-unit id=\"" + key + "\" resname=\"" + key + "\"><target>" + word + " " + key +
            "</target></trans-unit>";
  }
  body += "<trans-unit id=\"p[one]\" resname=\"p\"><target>one " + word + "</target></trans-unit>";
  body +=
      "<trans-unit id=\"p[other]\" resname=\"p\"><target>many " + word + "</target></trans-unit>";
  return "<xliff><file><body>" + body + "</body></file></xliff>";
}

class ConcurrentLookupTest : public testing::CoreTest {};

TEST_F(ConcurrentLookupTest, LookupsSeeWholeStoresWhileTheMainThreadReloadsReviewsAndSaves) {
  constexpr int kKeys = 50;
  const std::string files = folder() + "/Documents/Kolvane";
  ASSERT_TRUE(writeFileAtomically(files + "/fr_FR_published.xlf", catalogue("old", kKeys)));
  platform().defaults.setObject("KVLocale", "fr_FR");
  platform().bundle.strings["k0"] = u"app";
  KVMainController& controller = KVMainController::sharedInstance();
  controller.startWithProjectId("demo", nullptr);

  const std::set<std::u16string> expected = {u"\u200Bold k0\u2062", u"\u200Bnew k0\u2062",
                                             u"\u200Bedited\u2062", u"\u200Bapp\u2062"};
  const std::set<std::u16string> plurals = {u"\u200Bone old\u2062", u"\u200Bone new\u2062",
                                            u"\u200Bmany old\u2062", u"\u200Bmany new\u2062",
                                            u"\u200Bp\u2062"};
  std::atomic<bool> stop{false};
  std::atomic<int> unexpected{0};
  std::atomic<long> lookups{0};
  std::vector<std::thread> readers;
  for (int t = 0; t < 3; ++t) {
    readers.emplace_back([&] {
      while (!stop.load()) {
        const std::u16string text = platform().bundle.localizedStringForKey("k0", u"", "");
        if (!expected.count(text)) ++unexpected;
        // While a store is replaced the plural lookup may fall through to the bundle, whose
        // hook then finds the new store's default form, or nothing yet (the app's own "p").
        const std::u16string plural = KolvaneSDK::pluralizedStringWithKey("p", 1);
        if (!plurals.count(plural)) ++unexpected;
        const auto found = controller.kolvaneStringForLocalizedString(u"OLD K1");
        if (found && found->key != "k1") ++unexpected;
        // Review decisions publish new groups: the status read here is never being written.
        if (const auto group = found ? found->group.lock() : nullptr; group && group->status > 3) {
          ++unexpected;
        }
        const auto locale = KolvaneSDK::locale();
        if (locale && locale->localeIdentifier() != "fr_FR") ++unexpected;
        ++lookups;
      }
    });
  }

  auto editing = std::make_shared<KVWorkflowStep>();
  editing->canTranslate = true;
  for (int round = 0; round < 30; ++round) {
    const bool odd = round % 2 != 0;
    ASSERT_TRUE(
        writeFileAtomically(files + "/fr_FR_published.xlf", catalogue(odd ? "new" : "old", kKeys)));
    if (round % 5 == 0) {
      controller.setLocaleStrings(KVLocaleStrings::localeStringsForLocale(Locale("fr_FR")));
    }
    controller.loadStrings();
    const auto shown = controller.localeStrings();
    auto edited = KVXliffParser::parseXliffData(catalogue("edited", 1), 0, nullptr);
    edited.at("k0")->pluralForms.at("none")->extractFormatFromString(u"\u200Bedited\u2062");
    shown->setDirtyGroup("k0", edited.at("k0"));
    controller.setWorkflowStep(odd ? editing : nullptr);
    shown->setReviewStatus("k1", odd ? KVStringStatusAccepted : KVStringStatusRejected);
    shown->setReviewStatus("k0", round % 3 == 0 ? unsigned{KVStringStatusRejected} : 0u);
    shown->saveDirty();
    shown->loadDirtyStatuses();
    if (round % 7 == 0) controller.reset();
    if (round % 7 == 0) controller.loadSavedParameters();
  }
  stop = true;
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(unexpected.load(), 0);
  EXPECT_GT(lookups.load(), 0);
}

// What the app's own catalogues answered, noted by the threads that ask while others trace
// texts back: every traced text finds a record of its own key.
TEST_F(ConcurrentLookupTest, AnswersOfTheAppsCataloguesAreNotedAndTracedFromManyThreads) {
  KVMainController& controller = KVMainController::sharedInstance();
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 200; ++round) {
        for (int i = 0; i < 10; ++i) {
          const std::string key = "m" + std::to_string(i);
          // Two answers take turns, as after a language change.
          const std::u16string text =
              kv_stringWithCues(u"answer " + std::u16string(1, u'a' + (round + t) % 2) +
                                std::u16string(1, u'0' + i % 10) + u" %1");
          KolvaneNoteAppString(key, "source %1", text, "fr", std::nullopt);
        }
      }
    });
  }
  threads.emplace_back([&] {
    while (!stop.load()) {
      const auto found = controller.kolvaneStringWithNonNestedString(
          kv_formatKeepingCues(kv_stringWithCues(u"answer a3 %1"), {u"x"}), nullptr);
      if (found && (found->key != "m3" || !found->group.lock())) ++wrong;
      if (const auto group = controller.appCatalogue().sourceGroupForKey("m3")) {
        if (!group->defaultForm()) ++wrong;
      }
    }
  });
  for (std::size_t i = 0; i + 1 < threads.size(); ++i) threads[i].join();
  stop = true;
  threads.back().join();
  EXPECT_EQ(wrong.load(), 0);
  // Both answers of a key stay traceable, to the key's record.
  for (const char16_t* format : {u"answer a7 %1", u"answer b7 %1"}) {
    const auto found = controller.kolvaneStringWithNonNestedString(
        kv_formatKeepingCues(kv_stringWithCues(format), {u"y"}), nullptr);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->key, "m7");
  }
}

// Stores a reload replaces are freed while other threads go on looking up without pause, not
// kept until a moment when nobody looks up.
TEST_F(ConcurrentLookupTest, ReplacedStoresAreFreedUnderSteadyLookups) {
  KVMainController& controller = KVMainController::sharedInstance();
  std::atomic<bool> stop{false};
  std::atomic<long> lookups{0};
  std::vector<std::thread> readers;
  for (int t = 0; t < 4; ++t) {
    readers.emplace_back([&] {
      while (!stop.load()) {
        // Lookups in a row under one guard, as a capture tracing a whole window makes them:
        // readers then hold a guard nearly all the time, and seldom all at once let go.
        LookupGuard guard;
        for (int i = 0; i < 20; ++i) {
          benchmark(platform().bundle.localizedStringForKey("k", u"", ""));
        }
        ++lookups;
      }
    });
  }
  while (lookups.load() < 100) std::this_thread::yield();
  std::vector<std::weak_ptr<KVLocaleStrings>> replaced;
  for (int i = 0; i < 200; ++i) {
    auto store = KVLocaleStrings::localeStringsForLocale(Locale("fr_FR"));
    store->setLoadedStrings({});
    replaced.push_back(store);
    controller.setLocaleStrings(std::move(store));
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  controller.setLocaleStrings(nullptr);
  const auto alive = [&replaced] {
    std::size_t count = 0;
    for (const auto& store : replaced) count += store.expired() ? 0 : 1;
    return count;
  };
  // The main thread goes on with its work, the readers with theirs: a reader descheduled
  // while it holds a guard only delays the next reclaim.
  for (int i = 0; i < 1000 && alive() > 3; ++i) {
    reclaimRetired();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const std::size_t left = alive();
  stop = true;
  for (auto& reader : readers) reader.join();
  // At most the last generations' stores wait for the readers that may still hold them.
  EXPECT_LE(left, 3u);
}

}  // namespace
}  // namespace kolvane
