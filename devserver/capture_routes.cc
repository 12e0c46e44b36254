// Captures: reviewers' screenshots of the app's windows with the rectangles of the strings in
// them, stored per locale and shown to translators. Kolvane's own extension of the server API;
// the project info's "kolvaneExtensions" tells the SDK this server takes them.
#include "captures.h"
#include "server.h"
#include "strings/base64.h"

namespace devserver {
namespace {

constexpr const char* kLocaleCaptures =
    R"(/kolvane-api/v1/projects/([^/]+)/locales/([^/]+)/captures)";
constexpr const char* kCaptureImage = R"(/kolvane-api/v1/projects/([^/]+)/captures/([0-9]+)/image)";
constexpr const char* kCapturesPage = R"(/kolvane/projects/([^/]+)/locales/([^/]+)/captures)";

std::optional<nlohmann::json> userOf(const nlohmann::json& project, const std::string& username) {
  for (const auto& user : project.value("users", nlohmann::json::array())) {
    if (user.value("username", "") == username) return user;
  }
  return std::nullopt;
}

// True when the request carries HTTP Basic credentials of one of the project's users.
bool hasUserCredentials(const httplib::Request& request, const nlohmann::json& project) {
  const std::string header = request.get_header_value("Authorization");
  constexpr std::string_view kBasic = "Basic ";
  if (header.rfind(kBasic, 0) != 0) return false;
  const auto credentials =
      kolvane::kv_stringWithBase64EncodedString(std::string_view(header).substr(kBasic.size()));
  const auto colon = credentials ? credentials->find(':') : std::string::npos;
  if (colon == std::string::npos) return false;
  const auto user = userOf(project, credentials->substr(0, colon));
  return user && user->value("password", "") == credentials->substr(colon + 1);
}

nlohmann::json framesJson(const std::vector<TextFrame>& frames) {
  nlohmann::json json = nlohmann::json::array();
  for (const TextFrame& frame : frames) {
    json.push_back({{"text", frame.text},
                    {"x", frame.x},
                    {"y", frame.y},
                    {"width", frame.width},
                    {"height", frame.height}});
  }
  return json;
}

// The regions part of a capture upload; a missing part is no regions. Answers 400 and gives
// none when it is not a list of regions.
std::optional<std::vector<CaptureRegion>> regionsPart(const httplib::Request& request,
                                                      ImageSize size, httplib::Response& response) {
  if (!request.has_file("regions")) return std::vector<CaptureRegion>();
  const auto json = readClientJson(request.get_file_value("regions").content);
  auto list = json.status == 200 ? readRegions(json.value, size)
                                 : RegionList{{}, "The regions: " + json.message};
  if (list.problem.empty()) return std::move(list.regions);
  sendError(response, 400, "INVALID_REGIONS", list.problem);
  return std::nullopt;
}

}  // namespace

void Server::installCaptures(httplib::Server& http) {
  http.Post(kLocaleCaptures,
            [this](const auto& request, auto& response) { putCapture(request, response); });
  http.Get(kLocaleCaptures,
           [this](const auto& request, auto& response) { listCaptures(request, response); });
  http.Get(kCaptureImage,
           [this](const auto& request, auto& response) { sendCaptureImage(request, response); });
  http.Get(kCapturesPage,
           [this](const auto& request, auto& response) { sendCapturesPage(request, response); });
}

std::optional<Server::Member> Server::memberOf(const httplib::Request& request,
                                               httplib::Response& response) {
  const auto user = authorize(request, response);
  if (!user) return std::nullopt;
  auto project = localeProjectOf(request, response);
  if (!project) return std::nullopt;
  if (!userOf(*project, *user)) {
    sendError(response, 403, "FORBIDDEN", "Only the project's users see its captures");
    return std::nullopt;
  }
  return Member{std::move(*project), *user};
}

bool Server::admitsViewer(const httplib::Request& request, httplib::Response& response,
                          const nlohmann::json& project) {
  if (const auto user = bearerUser(request)) {
    if (userOf(project, *user)) return true;
    sendError(response, 403, "FORBIDDEN", "Only the project's users see its captures");
    return false;
  }
  if (hasUserCredentials(request, project)) return true;
  // A browser asks its user for a name and password on this challenge, then sends them again
  // for the images of the page, which share the realm.
  response.set_header("WWW-Authenticate", R"(Basic realm="Kolvane dev server")");
  sendError(response, 401, "AUTHENTICATION_FAILED",
            "A user of the project signs in with a bearer token or a name and password");
  return false;
}

void Server::putCapture(const httplib::Request& request, httplib::Response& response) {
  const auto member = memberOf(request, response);
  if (!member) return;
  if (!request.has_file("file")) {
    return sendError(response, 400, "NO_FILE", "The multipart field \"file\" is missing");
  }
  std::string image = request.get_file_value("file").content;
  const auto size = pngSize(image);
  if (!size) {
    return sendError(response, 400, "INVALID_IMAGE",
                     "The file must be a PNG from 1 to 16384 pixels a side");
  }
  auto regions = regionsPart(request, *size, response);
  if (!regions) return;
  const NewCapture capture{.project = member->project.at("id"),
                           .locale = request.matches[2],
                           .uploader = member->username,
                           .image = std::move(image),
                           .created = now(),
                           .width = size->width,
                           .height = size->height,
                           .regions = std::move(*regions)};
  const StoredCapture stored = store_.putCapture(capture, kMaxCapturesKept);
  sendJson(response, 200,
           envelope({{"captureId", stored.id == 0 ? nlohmann::json()
                                                  : nlohmann::json(std::to_string(stored.id))},
                     {"width", size->width},
                     {"height", size->height},
                     {"attachedKeys", stored.attachedKeys.size()},
                     {"unknownKeys", stored.unknownKeys}}));
}

void Server::listCaptures(const httplib::Request& request, httplib::Response& response) {
  const auto member = memberOf(request, response);
  if (!member) return;
  const std::string project = member->project.at("id");
  const std::string locale = request.matches[2];
  if (!request.has_param("key")) {
    nlohmann::json strings = nlohmann::json::array();
    for (const auto& [key, count] : store_.capturedKeys(project, locale)) {
      strings.push_back({{"key", key}, {"captures", count}});
    }
    return sendJson(response, 200, envelope({{"strings", strings}}));
  }
  const std::string key = request.get_param_value("key");
  nlohmann::json captures = nlohmann::json::array();
  for (const KeyCapture& capture :
       store_.capturesOfKey(project, locale, key, kNewestCapturesShown)) {
    captures.push_back({{"captureId", std::to_string(capture.id)},
                        {"width", capture.width},
                        {"height", capture.height},
                        {"image", captureImagePath(project, capture.id)},
                        {"regions", framesJson(capture.frames)}});
  }
  sendJson(response, 200, envelope({{"key", key}, {"captures", captures}}));
}

void Server::sendCaptureImage(const httplib::Request& request, httplib::Response& response) {
  const auto project = projectOf(request, response);
  if (!project || !admitsViewer(request, response, *project)) return;
  const auto image = store_.captureImage(project->at("id"), request.matches[2]);
  if (!image) return sendError(response, 404, "CAPTURE_NOT_FOUND", "No such capture");
  response.set_content(*image, "image/png");
}

void Server::sendCapturesPage(const httplib::Request& request, httplib::Response& response) {
  const auto project = localeProjectOf(request, response);
  if (!project || !admitsViewer(request, response, *project)) return;
  const std::string id = project->at("id");
  const std::string locale = request.matches[2];
  std::vector<KeyCaptures> keys;
  for (const auto& [key, count] : store_.capturedKeys(id, locale)) {
    keys.push_back({key, count, store_.capturesOfKey(id, locale, key, kNewestCapturesShown)});
  }
  response.set_content(capturesPage(*project, locale, keys), "text/html; charset=utf-8");
}

}  // namespace devserver
