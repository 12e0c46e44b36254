// A fresh platform and a main controller back in its state before start-up, with the
// reviewer's side played by a fake that the test signs in and out.
#pragma once

#include <optional>

#include "core/reviewer_services.h"
#include "support/fake_platform.h"

namespace kolvane::testing {

class FakeReviewerServices : public KVReviewerServices {
 public:
  void restoreLogin() override {}
  bool isLoggedIn() const override { return loggedIn; }
  // Fails at once: these tests download nothing.
  void downloadPath(std::string_view path, const Parameters& parameters, double timeout,
                    const std::string& file,
                    std::function<void(std::optional<KVError>)> completion) override;

  bool loggedIn = false;
};

class CoreTest : public PlatformTest {
 protected:
  void SetUp() override;
  void TearDown() override;
  // A reviewer is logged in and has chosen a step that lets them translate.
  void enableEditing();
  // A step that lets the reviewer translate is chosen.
  static void chooseTranslatingStep();
  FakeReviewerServices& reviewer() { return reviewer_; }

 private:
  FakeReviewerServices reviewer_;
};

}  // namespace kolvane::testing
