#include "strings/url_parameters.h"

#include <gtest/gtest.h>

namespace kolvane {
namespace {

TEST(UrlParametersTest, QueryOrElseFragment) {
  EXPECT_EQ(kv_getParameters("scheme://host/path?code=abc&state=1"),
            (KVParameters{{"code", "abc"}, {"state", "1"}}));
  EXPECT_EQ(kv_getParameters("scheme://host/path#code=abc"), (KVParameters{{"code", "abc"}}));
  EXPECT_TRUE(kv_getParameters("scheme://host/path").empty());
}

TEST(UrlParametersTest, KeptQuirksOfTheSplitting) {
  // A fragment is not split off a query.
  EXPECT_EQ(kv_getParameters("a?b=1#c=2"), (KVParameters{{"b", "1#c"}}));
  // Only the piece after the first "?" counts, and only the first "=" piece is the value.
  EXPECT_EQ(kv_getParameters("a?b=1?c=2"), (KVParameters{{"b", "1"}}));
  EXPECT_EQ(kv_getParametersFromString("x=1=2&x=3"), (KVParameters{{"x", "3"}}));
  // No decoding of any kind.
  EXPECT_EQ(kv_getParametersFromString("a%20b=c+d"), (KVParameters{{"a%20b", "c+d"}}));
}

TEST(UrlParametersTest, PairsWithoutEqualsSignAreSkipped) {
  EXPECT_EQ(kv_getParameters("s://h?flag&code=1&&=v"), (KVParameters{{"code", "1"}, {"", "v"}}));
  EXPECT_TRUE(kv_getParameters("s://h?").empty());
}

}  // namespace
}  // namespace kolvane
