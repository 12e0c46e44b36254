#include "server.h"

#include <chrono>
#include <random>
#include <thread>

#include "base/bounded_json.h"

namespace devserver {

nlohmann::json envelope(nlohmann::json data) {
  return {{"response", {{"code", "SUCCESS"}, {"data", std::move(data)}}}};
}

void sendJson(httplib::Response& response, int status, const nlohmann::json& body) {
  response.status = status;
  response.set_content(body.dump(), "application/json");
}

void sendError(httplib::Response& response, int status, const std::string& code,
               const std::string& message) {
  sendJson(response, status,
           {{"response", {{"code", code}, {"errors", {{{"code", code}, {"message", message}}}}}}});
}

namespace {

// Far above what the SDK sends (a status change of ten thousand strings is about 1 MiB), far
// below what would let one request hold hundreds of megabytes of parsed values.
constexpr std::size_t kMaxJsonBody = 4u << 20;

// The code and words of an error answer the routes did not write themselves.
std::pair<const char*, const char*> errorWords(int status) {
  switch (status) {
    case 400:
      return {"BAD_REQUEST", "The request could not be understood"};
    case 404:
      return {"NOT_FOUND", "No such resource"};
    case 408:
      return {"TIMEOUT", "The request took too long to arrive"};
    case 413:
      return {"TOO_LARGE", "The request body is larger than the server takes"};
    case 414:
      return {"TOO_LARGE", "The request line is too long"};
    default:
      return {"ERROR", "The request failed"};
  }
}

}  // namespace

ClientJson readClientJson(std::string_view text) {
  if (text.size() > kMaxJsonBody) {
    return {nlohmann::json::value_t::discarded, 413, "TOO_LARGE", "JSON may hold at most 4 MiB"};
  }
  if (kolvane::jsonNestingDepth(text, kolvane::kMaxJsonDepth) > kolvane::kMaxJsonDepth) {
    return {nlohmann::json::value_t::discarded, 400, "TOO_DEEP",
            "JSON may nest arrays and objects at most " + std::to_string(kolvane::kMaxJsonDepth) +
                " levels deep"};
  }
  ClientJson json;
  json.value = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (json.value.is_discarded()) json = {std::move(json.value), 400, "INVALID_JSON", "Not JSON"};
  return json;
}

std::optional<nlohmann::json> jsonBody(const httplib::Request& request,
                                       httplib::Response& response) {
  auto body = readClientJson(request.body);
  if (body.status != 200) {
    sendError(response, body.status, body.code, body.message);
    return std::nullopt;
  }
  return std::move(body.value);
}

std::string htmlEscaped(std::string_view text) {
  std::string out;
  for (char c : text) {
    if (c == '&')
      out += "&amp;";
    else if (c == '<')
      out += "&lt;";
    else if (c == '>')
      out += "&gt;";
    else if (c == '"')
      out += "&quot;";
    else
      out += c;
  }
  return out;
}

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::string randomHex(std::size_t bytes) {
  static thread_local std::mt19937_64 generator{std::random_device{}()};
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  for (std::size_t i = 0; i < bytes; ++i) {
    const auto byte = static_cast<unsigned>(generator() & 0xff);
    out += kDigits[byte >> 4];
    out += kDigits[byte & 15];
  }
  return out;
}

void Server::install(httplib::Server& http) {
  http.set_pre_routing_handler(
      [this](const httplib::Request& request, httplib::Response& response) {
        return applyFault(request, response) ? httplib::Server::HandlerResponse::Handled
                                             : httplib::Server::HandlerResponse::Unhandled;
      });
  http.set_exception_handler(
      [](const httplib::Request&, httplib::Response& response, std::exception_ptr) {
        sendError(response, 400, "BAD_REQUEST", "The request could not be understood");
      });
  http.set_error_handler([](const httplib::Request&, httplib::Response& response) {
    if (!response.body.empty()) return;
    const auto [code, message] = errorWords(response.status);
    sendError(response, response.status, code, message);
  });
  installSignOn(http);
  installApi(http);
  installCaptures(http);
  if (options_.faultsEnabled) installFaults(http);
}

void Server::installFaults(httplib::Server& http) {
  http.Post("/_dev/faults", [this](const httplib::Request& request, httplib::Response& response) {
    const auto body = jsonBody(request, response);
    if (!body) return;
    Fault fault;
    fault.path = body->value("path", "");
    fault.status = body->value("status", 0);
    fault.body = body->value("body", "");
    fault.delayMs = body->value("delayMs", 0);
    fault.close = body->value("close", false);
    fault.times = body->value("times", -1);
    for (const auto& hashcode : body->value("failHashcodes", nlohmann::json::array())) {
      fault.failHashcodes.insert(hashcode.get<std::string>());
    }
    std::lock_guard lock(faultMutex_);
    fault_ = std::move(fault);
    sendJson(response, 200, envelope(nullptr));
  });
  // What a test checks after a flow: every text of a locale, keyed "unit@step", and the issues.
  http.Get("/_dev/state", [this](const httplib::Request& request, httplib::Response& response) {
    const std::string project = request.get_param_value("project");
    const std::string locale = request.get_param_value("locale");
    nlohmann::json texts = nlohmann::json::object();
    const auto settings = store_.project(project);
    for (const auto& workflow :
         settings ? settings->value("workflows", nlohmann::json::array()) : nlohmann::json()) {
      for (const auto& step : workflow.value("steps", nlohmann::json::array())) {
        const std::string uid = step.value("uid", "");
        for (const Text& text : store_.textsInStep(project, locale, uid)) {
          texts[text.unit.id + "@" + uid] = {{"key", text.unit.key}, {"target", text.target}};
        }
      }
    }
    sendJson(response, 200,
             {{"texts", texts},
              {"issues", store_.issues(project)},
              {"captures", store_.captureCount(project, locale)},
              {"capturedStrings", store_.capturedKeys(project, locale).size()}});
  });
  http.Delete("/_dev/faults", [this](const httplib::Request&, httplib::Response& response) {
    std::lock_guard lock(faultMutex_);
    fault_.reset();
    sendJson(response, 200, envelope(nullptr));
  });
}

bool Server::applyFault(const httplib::Request& request, httplib::Response& response) {
  if (request.path.rfind("/_dev/", 0) == 0) return false;
  Fault fault;
  {
    std::lock_guard lock(faultMutex_);
    if (!fault_ || request.path.rfind(fault_->path, 0) != 0) return false;
    if (fault_->status == 0 && fault_->delayMs == 0 && !fault_->close) return false;
    fault = *fault_;
    if (fault_->times > 0 && --fault_->times == 0) fault_.reset();
  }
  if (fault.delayMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(fault.delayMs));
  if (fault.close) {
    // Promise a body, then give up: the client sees the connection end mid-answer.
    response.set_content_provider(
        64, "application/json", [](std::size_t, std::size_t, httplib::DataSink&) { return false; });
    return true;
  }
  if (fault.status == 0) return false;
  response.status = fault.status;
  response.set_content(fault.body, "application/json");
  return true;
}

std::set<std::string> Server::failingHashcodes() {
  std::lock_guard lock(faultMutex_);
  return fault_ ? fault_->failHashcodes : std::set<std::string>{};
}

std::optional<std::string> Server::bearerUser(const httplib::Request& request) {
  const std::string header = request.get_header_value("Authorization");
  constexpr std::string_view kBearer = "Bearer ";
  if (header.rfind(kBearer, 0) != 0) return std::nullopt;
  const auto grant = store_.grant("access", header.substr(kBearer.size()));
  if (grant && grant->expires > now()) return grant->username;
  return std::nullopt;
}

std::optional<std::string> Server::authorize(const httplib::Request& request,
                                             httplib::Response& response) {
  if (auto user = bearerUser(request)) return user;
  sendError(response, 401, "AUTHENTICATION_FAILED", "A valid bearer token is needed");
  return std::nullopt;
}

std::optional<nlohmann::json> Server::projectOf(const httplib::Request& request,
                                                httplib::Response& response) {
  if (auto project = store_.project(request.matches[1])) return project;
  sendError(response, 404, "PROJECT_NOT_FOUND", "No project " + std::string(request.matches[1]));
  return std::nullopt;
}

}  // namespace devserver
