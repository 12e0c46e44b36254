// The two keychains behind the platform interface keep the same rules: add refuses a
// duplicate, a search without a group finds any group, removing what is not there says so.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/linux/file_keychain.h"
#include "platform/linux/secret_keychain.h"
#include "support/fake_platform.h"

namespace kolvane {
namespace {

enum class Kind { file, secretService };

class KeychainSemanticsTest : public testing::PlatformTest,
                              public ::testing::WithParamInterface<Kind> {
 protected:
  void SetUp() override {
    PlatformTest::SetUp();
    if (GetParam() == Kind::file) {
      keychain_ = std::make_unique<FileKeychain>(folder() + "/keychain.json", "SEED.app");
      return;
    }
    if (!SecretKeychain::serviceAvailable()) {
      // The test script starts a Secret Service and insists on it; a plain run may have none.
      if (std::getenv("KOLVANE_REQUIRE_SECRET_SERVICE")) FAIL() << "no Secret Service answers";
      GTEST_SKIP() << "no Secret Service on this session bus";
    }
    keychain_ = std::make_unique<SecretKeychain>("SEED.app");
    // A leftover of an earlier run may or may not be there.
    static_cast<void>(keychain_->remove({"svc", "acct", std::nullopt}));
  }
  void TearDown() override {
    if (keychain_) static_cast<void>(keychain_->remove({"svc", "acct", std::nullopt}));
    PlatformTest::TearDown();
  }
  std::unique_ptr<Keychain> keychain_;
};

TEST_P(KeychainSemanticsTest, AddFindRemove) {
  const KeychainQuery query{"svc", "acct", std::nullopt};
  KeychainItem item;
  EXPECT_EQ(keychain_->copyMatching(query, &item), KeychainStatus::itemNotFound);
  EXPECT_EQ(keychain_->remove(query), KeychainStatus::itemNotFound);

  const std::string binary("a\0b\xff", 4);
  ASSERT_EQ(keychain_->add(query, binary), KeychainStatus::success);
  EXPECT_EQ(keychain_->add(query, "again"), KeychainStatus::failure);
  ASSERT_EQ(keychain_->copyMatching(query, &item), KeychainStatus::success);
  EXPECT_EQ(item.data, binary);
  EXPECT_EQ(item.accessGroup, "SEED.app");  // the default group of an item added without one
  EXPECT_EQ(keychain_->copyMatching({"svc", "acct", "SEED.app"}, nullptr), KeychainStatus::success);
  EXPECT_EQ(keychain_->copyMatching({"svc", "acct", "OTHER.group"}, nullptr),
            KeychainStatus::itemNotFound);
  EXPECT_EQ(keychain_->copyMatching({"svc", "other", std::nullopt}, nullptr),
            KeychainStatus::itemNotFound);

  EXPECT_EQ(keychain_->remove(query), KeychainStatus::success);
  EXPECT_EQ(keychain_->copyMatching(query, &item), KeychainStatus::itemNotFound);
}

INSTANTIATE_TEST_SUITE_P(Both, KeychainSemanticsTest,
                         ::testing::Values(Kind::file, Kind::secretService), [](const auto& param) {
                           return param.param == Kind::file ? "File" : "SecretService";
                         });

class FileKeychainTest : public testing::PlatformTest {};

TEST_F(FileKeychainTest, FileIsForTheUserAloneAndReplacedWhole) {
  const std::string path = folder() + "/Kolvane/keychain.json";
  FileKeychain keychain(path, "SEED.app");
  ASSERT_EQ(keychain.add({"token", "token", std::nullopt}, "secret"), KeychainStatus::success);
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  ASSERT_EQ(keychain.add({"userId", "userId", std::nullopt}, "u"), KeychainStatus::success);
  ASSERT_EQ(::stat((folder() + "/Kolvane").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
  // A write killed long ago left its temporary file: the next write takes it away.
  const std::string stale = path + ".tmp-AbC123";
  std::ofstream(stale) << "half";
  std::filesystem::last_write_time(
      stale, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  ASSERT_EQ(keychain.remove({"userId", "userId", std::nullopt}), KeychainStatus::success);
  // Only the keychain itself is in the folder: no temporary file is left behind.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder() + "/Kolvane"),
                          std::filesystem::directory_iterator()),
            1);
}

TEST_F(FileKeychainTest, ADamagedFileIsSetAsideAndTheKeychainWorksAgain) {
  const std::string path = folder() + "/keychain.json";
  for (const char* damaged : {"not json", R"([{"service": 7, "account": []}, 3])"}) {
    std::ofstream(path) << damaged;
    FileKeychain keychain(path, "SEED.app");
    const KeychainQuery query{"svc", "acct", std::nullopt};
    if (std::string(damaged) == "not json") {
      EXPECT_EQ(keychain.copyMatching(query, nullptr), KeychainStatus::itemNotFound);
      EXPECT_EQ(keychain.add(query, "x"), KeychainStatus::success);
      EXPECT_EQ(keychain.copyMatching(query, nullptr), KeychainStatus::success);
      std::ifstream in(path + ".damaged");
      EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), damaged);
    } else {
      // Items of the wrong shape match nothing but are kept.
      EXPECT_EQ(keychain.copyMatching(query, nullptr), KeychainStatus::itemNotFound);
      EXPECT_EQ(keychain.add(query, "x"), KeychainStatus::success);
      EXPECT_EQ(keychain.copyMatching(query, nullptr), KeychainStatus::success);
    }
  }
}

}  // namespace
}  // namespace kolvane
