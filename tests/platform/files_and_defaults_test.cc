#include <glib.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "platform/linux/glib_main_queue.h"
#include "platform/linux/json_user_defaults.h"
#include "platform/linux/posix_file_system.h"
#include "support/fake_platform.h"

namespace kolvane {
namespace {

class FilesAndDefaultsTest : public testing::PlatformTest {};

TEST_F(FilesAndDefaultsTest, AtomicWriteReplacesWholeAndLeavesNoTemporaryFile) {
  const std::string path = folder() + "/deep/er/file.txt";
  ASSERT_TRUE(writeFileAtomically(path, "first"));
  ASSERT_TRUE(writeFileAtomically(path, "second"));
  EXPECT_EQ(readWholeFile(path), "second");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder() + "/deep/er"),
                          std::filesystem::directory_iterator()),
            1);
}

TEST_F(FilesAndDefaultsTest, FailedWritesLeaveWhatWasThereAndNoTemporaryFile) {
  ASSERT_TRUE(writeFileAtomically(folder() + "/plain", "old"));
  EXPECT_FALSE(writeFileAtomically(folder() + "/plain/child", "x"));
  std::filesystem::create_directories(folder() + "/dir/inside");
  EXPECT_FALSE(writeFileAtomically(folder() + "/dir", "x"));
  EXPECT_TRUE(std::filesystem::is_directory(folder() + "/dir/inside"));
  EXPECT_EQ(readWholeFile(folder() + "/plain"), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder()),
                          std::filesystem::directory_iterator()),
            2);
}

TEST_F(FilesAndDefaultsTest, DefaultsSurviveAReopen) {
  const std::string path = folder() + "/config/app/defaults.json";
  {
    JsonUserDefaults defaults(path);
    defaults.setObject("KVLocale", "fr_FR");
    defaults.setObject("KVStatuses", {{"a", 2}});
    defaults.removeObjectForKey("never-set");
    ASSERT_TRUE(defaults.synchronize());
  }
  JsonUserDefaults reopened(path);
  EXPECT_EQ(reopened.objectForKey("KVLocale"), "fr_FR");
  EXPECT_EQ(reopened.objectForKey("KVStatuses")->at("a"), 2);
  reopened.removeObjectForKey("KVLocale");
  reopened.synchronize();
  EXPECT_EQ(JsonUserDefaults(path).objectForKey("KVLocale"), std::nullopt);
}

TEST_F(FilesAndDefaultsTest, DamagedDefaultsFileIsSetAsideNotLost) {
  const std::string path = folder() + "/defaults.json";
  ASSERT_TRUE(writeFileAtomically(path, "{not json"));
  JsonUserDefaults defaults(path);
  EXPECT_EQ(defaults.objectForKey("KVLocale"), std::nullopt);
  EXPECT_EQ(readWholeFile(path + ".damaged"), "{not json");
  defaults.setObject("k", std::string("bad \xff utf-8"));
  EXPECT_TRUE(defaults.synchronize());
}

TEST_F(FilesAndDefaultsTest, DeeplyNestedDefaultsAreSetAsideAndTheNextSaveWorks) {
  const std::string path = folder() + "/defaults.json";
  const std::string deep = "{\"k\": " + std::string(200'000, '[') + std::string(200'000, ']') + "}";
  ASSERT_TRUE(writeFileAtomically(path, deep));
  JsonUserDefaults defaults(path);
  EXPECT_EQ(defaults.objectForKey("k"), std::nullopt);
  EXPECT_EQ(readWholeFile(path + ".damaged")->size(), deep.size());
  defaults.setObject("KVLocale", "fr_FR");
  EXPECT_TRUE(defaults.synchronize());
}

TEST_F(FilesAndDefaultsTest, StringsFilesThroughTheFileSystem) {
  PosixFileSystem files;
  ASSERT_TRUE(files.writeFileAtomically(folder() + "/t.strings", "\"k\" = \"v\";"));
  EXPECT_TRUE(files.fileExists(folder() + "/t.strings"));
  EXPECT_FALSE(files.fileExists(folder()));
  EXPECT_TRUE(std::holds_alternative<StringsTable>(files.readStringsFile(folder() + "/t.strings")));
  EXPECT_TRUE(
      std::holds_alternative<StringsFileError>(files.readStringsFile(folder() + "/none.strings")));
  EXPECT_TRUE(files.removeFile(folder() + "/t.strings"));
  EXPECT_FALSE(files.removeFile(folder() + "/t.strings"));
}

TEST(GlibMainQueueTest, TasksRunLaterOnTheThreadThatIteratesTheMainContext) {
  GlibMainQueue queue;
  std::vector<int> order;
  std::thread::id ranOn;
  queue.post([&] { order.push_back(1); });
  std::thread poster([&] {
    queue.post([&] {
      order.push_back(2);
      ranOn = std::this_thread::get_id();
    });
  });
  poster.join();
  EXPECT_TRUE(order.empty());  // nothing runs inside post()
  while (order.size() < 2) g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

}  // namespace
}  // namespace kolvane
