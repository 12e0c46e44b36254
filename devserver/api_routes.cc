// The REST API: ping, project, workflows, content export and import, status changes, issues.
#include "seed.h"
#include "server.h"
#include "xliff.h"

namespace devserver {
namespace {

constexpr const char* kProject = R"(/projects-api/v2/projects/([^/]+))";
constexpr const char* kWorkflows = R"(/workflows-strings-api/v2/projects/([^/]+))";
constexpr const char* kFiles = R"(/files-api/v2/projects/([^/]+)/locales/([^/]+)/content)";

// The steps of the workflow holding `step`, in order; empty when no workflow holds it.
std::vector<std::string> workflowOf(const nlohmann::json& project, const std::string& step) {
  for (const auto& workflow : project.at("workflows")) {
    std::vector<std::string> steps;
    for (const auto& each : workflow.at("steps")) steps.push_back(each.at("uid"));
    if (std::find(steps.begin(), steps.end(), step) != steps.end()) return steps;
  }
  return {};
}

bool knowsLocale(const nlohmann::json& project, const std::string& locale) {
  const auto& locales = project.at("locales");
  return std::find(locales.begin(), locales.end(), locale) != locales.end();
}

nlohmann::json workflowsData(const nlohmann::json& project) {
  nlohmann::json pairs = nlohmann::json::array();
  for (const auto& locale : project.at("locales")) {
    if (locale != project.at("sourceLocale")) {
      pairs.push_back({{"sourceLocaleId", project.at("sourceLocale")}, {"targetLocaleId", locale}});
    }
  }
  nlohmann::json items = nlohmann::json::array();
  for (const auto& workflow : project.at("workflows")) {
    nlohmann::json steps = nlohmann::json::array();
    for (const auto& step : workflow.at("steps")) {
      steps.push_back({{"workflowStepName", step.at("name")},
                       {"workflowStepUid", step.at("uid")},
                       {"workflowStepClass", step.at("class")},
                       {"permissions",
                        {{"canTranslateStrings", step.value("canTranslate", false)},
                         {"canSubmitStrings", step.value("canSubmit", false)},
                         {"canRejectStrings", step.value("canReject", false)}}},
                       {"localePairs", pairs}});
    }
    items.push_back({{"workflowName", workflow.at("workflowName")},
                     {"workflowUid", workflow.at("workflowUid")},
                     {"workflowSteps", steps}});
  }
  return {{"items", items}};
}

}  // namespace

void Server::installApi(httplib::Server& http) {
  http.Get("/auth-api/v2/ping",
           [this](const httplib::Request& request, httplib::Response& response) {
             if (authorize(request, response)) sendJson(response, 200, envelope({{"pong", true}}));
           });
  http.Get(kProject, [this](const httplib::Request& request, httplib::Response& response) {
    if (!authorize(request, response)) return;
    const auto project = projectOf(request, response);
    if (!project) return;
    sendJson(response, 200,
             envelope({{"projectId", project->at("id")},
                       {"name", project->at("name")},
                       {"sourceLocaleId", project->at("sourceLocale")},
                       {"targetLocaleIds", project->at("locales")},
                       // What this server takes beyond the common API, for Kolvane's SDK.
                       {"kolvaneExtensions", nlohmann::json::array({"captures"})}}));
  });
  http.Get(std::string(kWorkflows) + "/workflows",
           [this](const httplib::Request& request, httplib::Response& response) {
             if (!authorize(request, response)) return;
             if (const auto project = projectOf(request, response)) {
               sendJson(response, 200, envelope(workflowsData(*project)));
             }
           });
  http.Get(std::string(kFiles) + "/export",
           [this](const auto& request, auto& response) { exportContent(request, response); });
  http.Post(std::string(kFiles) + "/import",
            [this](const auto& request, auto& response) { importContent(request, response); });
  http.Put(std::string(kWorkflows) + "/submittedStrings",
           [this](const auto& request, auto& response) { changeStatus(request, response, true); });
  http.Put(std::string(kWorkflows) + "/rejectedStrings",
           [this](const auto& request, auto& response) { changeStatus(request, response, false); });
  http.Post(R"(/issues-api/v2/projects/([^/]+)/issues)", [this](const httplib::Request& request,
                                                                httplib::Response& response) {
    const auto user = authorize(request, response);
    if (!user || !projectOf(request, response)) return;
    auto issue = jsonBody(request, response);
    if (!issue) return;
    if (!issue->is_object() || !issue->contains("string")) {
      return sendError(response, 400, "INVALID_ISSUE", "An issue needs a string");
    }
    (*issue)["reporter"] = *user;
    store_.addIssue(request.matches[1], *issue);
    sendJson(response, 200,
             envelope({{"issueUid", std::to_string(store_.issueCount(request.matches[1]))}}));
  });
}

std::optional<nlohmann::json> Server::contentProjectOf(const httplib::Request& request,
                                                       httplib::Response& response) {
  if (!authorize(request, response)) return std::nullopt;
  return localeProjectOf(request, response);
}

std::optional<nlohmann::json> Server::localeProjectOf(const httplib::Request& request,
                                                      httplib::Response& response) {
  auto project = projectOf(request, response);
  if (!project) return std::nullopt;
  const std::string locale = request.matches[2];
  if (!knowsLocale(*project, locale)) {
    sendError(response, 404, "LOCALE_NOT_FOUND", "No locale " + locale);
    return std::nullopt;
  }
  return project;
}

void Server::exportContent(const httplib::Request& request, httplib::Response& response) {
  const auto project = contentProjectOf(request, response);
  if (!project) return;
  const std::string locale = request.matches[2];
  const std::string retrieval = request.get_param_value("retrievalType");
  std::string step;
  if (retrieval == "PUBLISHED") {
    step = publishedStep(*project);
  } else if (retrieval == "PENDING") {
    step = request.get_param_value("workflowStepUids[0]");
    if (workflowOf(*project, step).empty()) {
      return sendError(response, 400, "UNKNOWN_WORKFLOW_STEP", "No workflow step " + step);
    }
  } else {
    return sendError(response, 400, "INVALID_RETRIEVAL_TYPE",
                     "retrievalType is PUBLISHED or PENDING");
  }
  const std::string id = project->at("id");
  const std::string source = project->at("sourceLocale");
  std::vector<ExportUnit> units;
  for (const auto& text : store_.textsInStep(id, locale, step)) {
    units.push_back({text.unit.id, text.unit.key,
                     store_.textOf(id, source, text.unit.id, publishedStep(*project)).value_or(""),
                     text.target});
  }
  response.set_content(writeXliff(source, locale, units), "application/xml");
}

void Server::importContent(const httplib::Request& request, httplib::Response& response) {
  const auto project = contentProjectOf(request, response);
  if (!project) return;
  const std::string locale = request.matches[2];
  if (!request.has_file("file")) {
    return sendError(response, 400, "NO_FILE", "The multipart field \"file\" is missing");
  }
  const auto units = readXliff(request.get_file_value("file").content);
  if (!units) return sendError(response, 400, "INVALID_XLIFF", "The file is not XLIFF");
  const std::string id = project->at("id");
  const auto failing = failingHashcodes();
  nlohmann::json errors = nlohmann::json::array();
  const auto fail = [&errors](const std::string& hashcode, const std::string& message) {
    errors.push_back({{"stringHashCode", hashcode}, {"messages", {message}}});
  };
  std::vector<Store::TextPut> accepted;
  for (const auto& unit : *units) {
    const std::string hashcode = hashcodeOf(unit.id);
    if (failing.count(hashcode)) {
      fail(hashcode, "Import refused");
    } else if (!store_.unit(id, unit.id)) {
      fail(hashcode, "Unknown string");
    } else if (workflowOf(*project, unit.phase).empty()) {
      fail(hashcode, "Unknown workflow step " + unit.phase);
    } else {
      accepted.push_back({unit.id, unit.phase, unit.target});
    }
  }
  // Acknowledged only once every accepted text is committed.
  store_.putTexts(id, locale, accepted, publishedStep(*project));
  sendJson(response, 200, envelope({{"translationImportErrors", errors}}));
}

void Server::changeStatus(const httplib::Request& request, httplib::Response& response,
                          bool submit) {
  if (!authorize(request, response)) return;
  const auto project = projectOf(request, response);
  if (!project) return;
  const auto body = jsonBody(request, response);
  if (!body) return;
  const std::string locale = body->at("localeId");
  const std::string id = project->at("id");
  const auto failing = failingHashcodes();
  nlohmann::json failures = nlohmann::json::array();
  for (const auto& entry : body->at("strings")) {
    const std::string hashcode = entry.at("hashcode");
    const std::string step = entry.at("currentWorkflowStepUid");
    const auto steps = workflowOf(*project, step);
    const auto units = store_.unitsOfHashcode(id, hashcode);
    std::string reason;
    if (failing.count(hashcode))
      reason = "Status change refused";
    else if (units.empty())
      reason = "Unknown string";
    else if (steps.empty())
      reason = "Unknown workflow step";
    if (reason.empty()) {
      const auto at = std::find(steps.begin(), steps.end(), step) - steps.begin();
      const std::string& to = submit ? steps[std::min<std::size_t>(at + 1, steps.size() - 1)]
                                     : steps[at > 0 ? at - 1 : 0];
      bool moved = false;
      for (const auto& unit : units)
        moved = store_.moveText(id, locale, unit.id, step, to) || moved;
      if (!moved) reason = "No text of this string in step " + step;
    }
    if (!reason.empty()) failures.push_back({{"hashcode", hashcode}, {"reason", reason}});
  }
  sendJson(response, 200, envelope({{"failures", failures}}));
}

}  // namespace devserver
