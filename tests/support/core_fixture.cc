#include "support/core_fixture.h"

#include <memory>

#include "core/main_controller.h"
#include "core/workflow_step.h"

namespace kolvane::testing {

void FakeReviewerServices::downloadPath(std::string_view /*path*/, const Parameters& /*parameters*/,
                                        double /*timeout*/, const std::string& /*file*/,
                                        std::function<void(std::optional<KVError>)> completion) {
  completion(KVError("KVTest", 1, "No server in this test"));
}

void CoreTest::SetUp() {
  PlatformTest::SetUp();
  KVMainController::sharedInstance().resetForTesting();
  // Reading in place leaves the test's main queue as the one order of events.
  KVMainController::setBackgroundRunner([](std::function<void()> task) { task(); });
  KVMainController::sharedInstance().setReviewerServices(&reviewer_);
}

void CoreTest::TearDown() {
  KVMainController::sharedInstance().resetForTesting();
  KVMainController::sharedInstance().setReviewerServices(nullptr);
  PlatformTest::TearDown();
}

void CoreTest::chooseTranslatingStep() {
  auto step = std::make_shared<KVWorkflowStep>();
  step->canTranslate = true;
  KVMainController::sharedInstance().setWorkflowStep(step);
}

void CoreTest::enableEditing() {
  reviewer_.loggedIn = true;
  chooseTranslatingStep();
}

}  // namespace kolvane::testing
