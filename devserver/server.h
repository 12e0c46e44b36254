// The routes of the dev server: the sign-on endpoints, the REST API the SDK calls, the captures
// of app windows, and the fault switches tests use. State lives in the Store; the options fix token
// lifetimes.
#pragma once

#include <httplib.h>

#include <atomic>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "store.h"

namespace devserver {

struct Options {
  long long tokenLifetime = 300;     // seconds an access token lives
  long long refreshLifetime = 1800;  // seconds a refresh token lives
  bool faultsEnabled = false;        // /_dev/faults answers only when started for tests
  // The app schemes sign-on may redirect to, besides loopback addresses.
  std::set<std::string> redirectSchemes{"kolvane"};
};

// What the fault switch makes the server do to requests whose path starts with `path`.
struct Fault {
  std::string path;
  int status = 0;  // answer this status (with `body`) instead of handling
  std::string body;
  int delayMs = 0;                      // wait before handling
  bool close = false;                   // drop the connection after the headers
  std::set<std::string> failHashcodes;  // reported as failures by import, submit and reject
  int times = -1;                       // how many requests it applies to; -1: until cleared
};

class Server {
 public:
  Server(Store& store, Options options) : store_(store), options_(options) {}
  void install(httplib::Server& http);

 private:
  void installSignOn(httplib::Server& http);
  void installApi(httplib::Server& http);
  void installCaptures(httplib::Server& http);
  void installFaults(httplib::Server& http);
  // Applies a fault to the request, if one is set; true when the answer is already made.
  bool applyFault(const httplib::Request& request, httplib::Response& response);
  std::set<std::string> failingHashcodes();
  // The user of a valid bearer token; answers 401 and gives none otherwise.
  std::optional<std::string> authorize(const httplib::Request& request,
                                       httplib::Response& response);
  // The user of the request's bearer token when it is valid; answers nothing.
  std::optional<std::string> bearerUser(const httplib::Request& request);
  // The project of the path; answers 404 and gives none when it is unknown.
  std::optional<nlohmann::json> projectOf(const httplib::Request& request,
                                          httplib::Response& response);
  // The project of a content path for a signed-in user and a locale of the project; answers
  // 401 or 404 and gives none otherwise.
  std::optional<nlohmann::json> contentProjectOf(const httplib::Request& request,
                                                 httplib::Response& response);
  // The project of a path naming a project and one of its locales; answers 404 and gives none
  // otherwise.
  std::optional<nlohmann::json> localeProjectOf(const httplib::Request& request,
                                                httplib::Response& response);
  nlohmann::json tokenAnswer(const std::string& username);
  // The sign-in form posted: a code to the app's redirect, bound to the authorisation request.
  void issueCode(const httplib::Request& request, httplib::Response& response);
  // The code exchanged for tokens, once, by the client that asked for it.
  void redeemCode(const httplib::Request& request, httplib::Response& response);

  void exportContent(const httplib::Request& request, httplib::Response& response);
  void importContent(const httplib::Request& request, httplib::Response& response);
  void changeStatus(const httplib::Request& request, httplib::Response& response, bool submit);

  // The project of a capture path when a user of the project asks with a bearer token, and that
  // user; answers 401, 403 or 404 and gives none otherwise.
  struct Member {
    nlohmann::json project;
    std::string username;
  };
  std::optional<Member> memberOf(const httplib::Request& request, httplib::Response& response);
  // True when a browser may see the project's captures: a user of the project asks with a
  // bearer token or with Basic credentials. Answers 401 with a Basic challenge (403 for
  // another project's token) otherwise.
  bool admitsViewer(const httplib::Request& request, httplib::Response& response,
                    const nlohmann::json& project);
  void putCapture(const httplib::Request& request, httplib::Response& response);
  void listCaptures(const httplib::Request& request, httplib::Response& response);
  void sendCaptureImage(const httplib::Request& request, httplib::Response& response);
  void sendCapturesPage(const httplib::Request& request, httplib::Response& response);

  Store& store_;
  Options options_;
  std::mutex faultMutex_;
  std::optional<Fault> fault_;
};

// The answer envelope: {"response": {"code": "SUCCESS", "data": data}}.
nlohmann::json envelope(nlohmann::json data);
void sendJson(httplib::Response& response, int status, const nlohmann::json& body);
// An error envelope: {"response": {"code": code, "errors": [{"code":..., "message": ...}]}}.
void sendError(httplib::Response& response, int status, const std::string& code,
               const std::string& message);
// JSON a client sent, or why it is refused. Its size and nesting are bounded before anything
// reads it, since parsing, storing and answering it all recurse.
struct ClientJson {
  nlohmann::json value;  // discarded when refused
  int status = 200;      // 400, or 413 when too large, when refused
  std::string code;
  std::string message;
};
ClientJson readClientJson(std::string_view text);
// The request's JSON body; answers the refusal and gives none when it is not JSON or goes past
// the bounds.
std::optional<nlohmann::json> jsonBody(const httplib::Request& request,
                                       httplib::Response& response);
// Text for HTML, in an element or a double-quoted attribute.
std::string htmlEscaped(std::string_view text);
double now();
std::string randomHex(std::size_t bytes);

}  // namespace devserver
