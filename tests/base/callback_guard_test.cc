#include "base/callback_guard.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace kolvane {
namespace {

std::vector<std::string>& written() {
  static std::vector<std::string> lines;
  return lines;
}

TEST(CallbackGuardTest, AnExceptionStopsAtTheGuardAndLeavesALogLine) {
  setLogLineWriter([](std::string_view line) { written().emplace_back(line); });
  EXPECT_EQ(guardCallback("Counting", 0, [] { return 7; }), 7);
  EXPECT_EQ(guardCallback("Counting", -1, []() -> int { throw std::runtime_error("boom"); }), -1);
  EXPECT_FALSE(guardCallback("Anything", [] { throw 42; }));
  EXPECT_TRUE(guardCallback("Nothing", [] {}));
  setLogLineWriter(nullptr);
  ASSERT_EQ(written().size(), 2u);
  EXPECT_EQ(written()[0], "[KV] Counting failed: boom");
  EXPECT_EQ(written()[1], "[KV] Anything failed");
}

}  // namespace
}  // namespace kolvane
