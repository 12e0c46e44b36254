#include "base/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kolvane {
namespace {

std::vector<std::string>& written() {
  static std::vector<std::string> lines;
  return lines;
}

// The sink redacts whatever a caller hands it: a redirect, a form, a line of prose.
TEST(LogTest, SecretsInAnyUrlOrFormAreRedactedByTheSinkItself) {
  setLogLineWriter([](std::string_view line) { written().emplace_back(line); });
  kvLog("Webview loading http://127.0.0.1:5/login/?code=abc&state=xyz#top");
  kvLog("grant_type=authorization_code&CODE=abc&code_verifier=v-1.2~3&redirect_uri=x");
  kvLog("refresh_token=r1 and access_token=a1, barcode=12 zipcode=3 code");
  setLogLineWriter(nullptr);
  EXPECT_THAT(written(),
              ::testing::ElementsAre(
                  "[KV] Webview loading http://127.0.0.1:5/login/?code=[redacted]&state=xyz#top",
                  "[KV] grant_type=authorization_code&CODE=[redacted]&code_verifier=[redacted]"
                  "&redirect_uri=x",
                  "[KV] refresh_token=[redacted] and access_token=[redacted] barcode=12 zipcode=3 "
                  "code"));
}

}  // namespace
}  // namespace kolvane
