// A fresh platform, main controller and session, with the server's reviewer services
// installed: for tests of the login, the API and what is built on them.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "support/core_fixture.h"

namespace kolvane::testing {

// The sign-on server's answer to a code exchange: a token for `reviewer` ("uid").
std::string tokenAnswerFor(const std::string& reviewer);

class ReviewerTest : public CoreTest {
 protected:
  void SetUp() override;
  void TearDown() override;
  // A reviewer is logged in and has chosen a step that lets them translate.
  void enableEditing();
  // Ships `values` as the bundle's deployment file (Kolvane.json) and chooses staging.
  void useDeployment(const nlohmann::json& values);
  // Sends requests for real (libcurl) to `baseUrl` for the API and sign-on hosts, with the
  // redirect scheme "kolvane-test", through the bundle's deployment file.
  void useServerAt(const std::string& baseUrl);
  // A session whose access token is good for an hour.
  void logIn(const std::string& accessToken = "tok");
};

}  // namespace kolvane::testing
