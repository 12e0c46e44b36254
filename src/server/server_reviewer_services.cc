#include "server/server_reviewer_services.h"

#include "core/main_controller.h"
#include "server/network.h"
#include "server/session.h"

namespace kolvane {
namespace {

class ServerReviewerServices final : public KVReviewerServices {
 public:
  void restoreLogin() override { KVSession::sharedInstance().loadSavedCredentials(); }
  bool isLoggedIn() const override { return KVSession::sharedInstance().isLoggedIn(); }
  void downloadPath(std::string_view path, const Parameters& parameters, double timeout,
                    const std::string& file,
                    std::function<void(std::optional<KVError>)> completion) override {
    KVParametersJson query = KVParametersJson::object();
    for (const auto& [name, value] : parameters) query[name] = value;
    KVNetwork::downloadPath(path, query, timeout, file, std::move(completion));
  }
};

}  // namespace

KVReviewerServices& serverReviewerServices() {
  // Never destroyed: lookups on other threads may ask it while the process exits.
  static auto* services = new ServerReviewerServices;
  return *services;
}

void installServerReviewerServices() {
  KVMainController::sharedInstance().setReviewerServices(&serverReviewerServices());
}

}  // namespace kolvane
