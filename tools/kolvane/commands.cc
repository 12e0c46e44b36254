#include "commands.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <optional>

#include "base/plain_name.h"
#include "base/utf.h"
#include "core/locale_identifiers.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "core/workflow_step.h"
#include "json_output.h"
#include "kolvane/kolvane.h"
#include "kolvane/linux_platform.h"
#include "kolvane/platform.h"
#include "password_login.h"
#include "password_prompt.h"
#include "server/api.h"
#include "server/session.h"
#include "strings/base64.h"
#include "strings/cues.h"
#include "strings/plural_form.h"
#include "strings/string_record.h"
#include "strings/url_parameters.h"
#include "strings/xliff_parser.h"

namespace kolvane::cli {
namespace {

void expectCount(const Arguments& args, std::size_t count, const char* what) {
  if (args.size() != count) throw UsageError(std::string("expected ") + what);
}

std::string readStandardInput() {
  return std::string(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
}

nlohmann::json specifiersJson(const std::vector<std::u16string>& specifiers) {
  nlohmann::json list = nlohmann::json::array();
  for (const auto& specifier : specifiers) list.push_back(toUtf8(specifier));
  return list;
}

std::optional<Number> parseNumber(const std::string& text) {
  std::int64_t integer = 0;
  const char* end = text.data() + text.size();
  if (auto [ptr, error] = std::from_chars(text.data(), end, integer);
      error == std::errc() && ptr == end) {
    return Number(integer);
  }
  double decimal = 0;
  if (auto [ptr, error] = std::from_chars(text.data(), end, decimal);
      error == std::errc() && ptr == end) {
    return Number(decimal);
  }
  return std::nullopt;
}

// Reads "--name value" options and bare words; flags listed in `flags` take no value.
struct ParsedOptions {
  std::map<std::string, std::string> values;
  std::vector<std::string> words;
  bool has(const std::string& name) const { return values.count(name) > 0; }
};

ParsedOptions parseOptions(const Arguments& args, const std::vector<std::string>& withValue,
                           const std::vector<std::string>& flags) {
  ParsedOptions parsed;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg.rfind("--", 0) != 0) {
      parsed.words.push_back(arg);
    } else if (std::find(flags.begin(), flags.end(), arg) != flags.end()) {
      parsed.values[arg] = "";
    } else if (std::find(withValue.begin(), withValue.end(), arg) != withValue.end()) {
      if (i + 1 >= args.size()) throw UsageError(arg + " needs a value");
      parsed.values[arg] = args[++i];
    } else {
      throw UsageError("unknown option " + arg);
    }
  }
  return parsed;
}

LinuxPlatformOptions platformOptionsFrom(const ParsedOptions& options) {
  if (!options.has("--bundle")) throw UsageError("needs --bundle DIR");
  LinuxPlatformOptions platformOptions;
  platformOptions.bundlePath = options.values.at("--bundle");
  if (options.has("--home")) {
    platformOptions.configHome = options.values.at("--home") + "/config";
    platformOptions.dataHome = options.values.at("--home") + "/data";
  }
  return platformOptions;
}

// Start-up options: "--environment stage" reaches the bundle's staging servers, as an app
// started with {"environment": "stage"} does.
nlohmann::json startOptions(const ParsedOptions& options) {
  if (!options.has("--environment")) return nullptr;
  const std::string& environment = options.values.at("--environment");
  if (environment != "stage" && environment != "production") {
    throw UsageError("--environment is stage or production");
  }
  return {{"environment", environment}};
}

nlohmann::json formJson(const KVString& form) {
  return {{"uid", form.uid},
          {"pluralForm", form.pluralForm ? nlohmann::json(*form.pluralForm) : nlohmann::json()},
          {"localizedFormat", shown(form.localizedFormat)},
          {"note", toUtf8(form.note)},
          {"dynamic", form.dynamic},
          {"argumentFormatSpecifiers", specifiersJson(form.argumentFormatSpecifiers)}};
}

nlohmann::json groupsJson(const KVStringGroups& groups) {
  nlohmann::json result = nlohmann::json::object();
  for (const auto& [key, group] : groups) {
    nlohmann::json forms = nlohmann::json::object();
    for (const auto& [name, form] : group->pluralForms) forms[name] = formJson(*form);
    result[key] = {{"status", group->status}, {"hasPlurals", group->hasPlurals}, {"forms", forms}};
  }
  return result;
}

}  // namespace

int runCues(const Arguments& args) {
  expectCount(args, 2, "a cues action and a TEXT");
  const std::u16string text = toUtf16(args[1]);
  const std::string& action = args[0];
  if (action == "mark") {
    printLine(toUtf8(kv_stringWithCues(text)));
  } else if (action == "show") {
    printLine(shown(text));
  } else if (action == "strip") {
    printLine(toUtf8(kv_stringByRemovingCues(text)));
  } else if (action == "find") {
    nlohmann::json items = nlohmann::json::array();
    for (const KVEditionItem& item : kv_localizedStringsInString(text)) {
      items.push_back({{"string", shown(item.string)},
                       {"location", item.range.location},
                       {"length", item.range.length},
                       {"level", item.level}});
    }
    printJson(items);
  } else {
    throw UsageError("unknown cues action '" + action + "'");
  }
  return 0;
}

int runString(const Arguments& args) {
  expectCount(args, 1, "a TEXT");
  KVString string;
  string.extractFormatFromString(kv_stringWithCues(toUtf16(args[0])));
  printJson({{"localizedFormat", shown(string.localizedFormat)},
             {"dynamic", string.dynamic},
             {"argumentFormatSpecifiers", specifiersJson(string.argumentFormatSpecifiers)},
             {"localizedHash", shown(string.localizedHash)}});
  return 0;
}

int runPlural(const Arguments& args) {
  expectCount(args, 2, "a LOCALE_ID and a VALUE");
  const auto value = parseNumber(args[1]);
  if (!value) throw UsageError("VALUE must be an integer or a decimal number: " + args[1]);
  printLine(KVPluralForm::pluralFormForValue(*value, Locale(args[0])));
  return 0;
}

int runLocale(const Arguments& args) {
  expectCount(args, 2, "a locale action and an ID");
  const std::string& action = args[0];
  if (action == "to-server") {
    printLine(kolvaneLocaleIdentifier(Locale(args[1])));
  } else if (action == "from-server") {
    const auto locale = localeFromKolvanIdentifier(args[1]);
    if (!locale) throw Failure("not a locale id: " + args[1]);
    printLine(locale->localeIdentifier());
  } else if (action == "name") {
    printLine(kv_localizedLanguageName(Locale(args[1])));
  } else {
    throw UsageError("unknown locale action '" + action + "'");
  }
  return 0;
}

int runBase64(const Arguments& args) {
  if (args.empty()) throw UsageError("expected encode or decode");
  const ParsedOptions options = parseOptions({args.begin() + 1, args.end()}, {"--wrap"}, {});
  if (!options.words.empty()) throw UsageError("base64 reads its input from stdin");
  if (args[0] == "encode") {
    std::size_t wrap = 0;
    if (options.has("--wrap")) {
      const std::string& text = options.values.at("--wrap");
      auto [ptr, error] = std::from_chars(text.data(), text.data() + text.size(), wrap);
      if (error != std::errc() || ptr != text.data() + text.size()) {
        throw UsageError("--wrap takes a whole number");
      }
    }
    const auto encoded = kv_base64EncodedStringWithWrapWidth(readStandardInput(), wrap);
    if (!encoded) throw Failure("nothing to encode");
    printLine(*encoded);
  } else if (args[0] == "decode") {
    if (options.has("--wrap")) throw UsageError("--wrap is for encode");
    const auto decoded = kv_dataWithBase64EncodedString(readStandardInput());
    if (!decoded) throw Failure("nothing to decode");
    std::fwrite(decoded->data(), 1, decoded->size(), stdout);
  } else {
    throw UsageError("expected encode or decode");
  }
  return 0;
}

int runUrlParams(const Arguments& args) {
  expectCount(args, 1, "a URL");
  printJson(kv_getParameters(args[0]));
  return 0;
}

int runStrings(const Arguments& args) {
  if (args.size() != 2 || args[0] != "read") throw UsageError("expected read FILE");
  StringsFileResult result = Platform::current().fileSystem().readStringsFile(args[1]);
  if (const auto* error = std::get_if<StringsFileError>(&result)) {
    throw Failure(args[1] + ": " + error->message);
  }
  nlohmann::json table = nlohmann::json::object();
  for (const auto& [key, text] : std::get<StringsTable>(result)) table[key] = toUtf8(text);
  printJson(table);
  return 0;
}

namespace {

// Saves the locale the runtime shows, as an app's language setting would.
void saveShownLocale(const std::string& id) {
  if (!isPlainName(id)) throw Failure("not a locale id: " + id);
  UserDefaults& defaults = Platform::current().userDefaults();
  defaults.setObject("KVLocale", id);
  if (!defaults.synchronize()) throw Failure("cannot save the locale in the user defaults");
}

}  // namespace

int runLookup(const Arguments& args) {
  const ParsedOptions options =
      parseOptions(args,
                   {"--bundle", "--project", "--home", "--locale", "--plural", "--environment",
                    "--context", "--disambiguation"},
                   {"--show"});
  if (options.words.empty()) throw UsageError("lookup needs at least one KEY");
  std::optional<Number> count;
  if (options.has("--plural")) {
    count = parseNumber(options.values.at("--plural"));
    if (!count) throw UsageError("--plural takes an integer or a decimal number");
  }
  Platform::install(makeLinuxPlatform(platformOptionsFrom(options)));
  if (options.has("--locale")) saveShownLocale(options.values.at("--locale"));
  const std::string project = options.has("--project") ? options.values.at("--project") : "cli";
  KolvaneSDK::startWithProjectId(project, startOptions(options));

  const Bundle& bundle = Platform::current().mainBundle();
  // A Qt message's context names the table, its disambiguation is part of the key.
  const std::string table = options.has("--context") ? options.values.at("--context") : "";
  const std::string disambiguation =
      options.has("--disambiguation") ? options.values.at("--disambiguation") : "";
  for (const std::string& word : options.words) {
    const std::string key = KolvaneMessageKey(word, disambiguation);
    const std::u16string text = count ? KolvaneSDK::pluralizedStringWithKey(key, count)
                                      : bundle.localizedStringForKey(key, u"", table);
    printLine(options.has("--show") ? shown(text) : toUtf8(text));
  }
  return 0;
}

namespace {

// Runs the main queue until `finished` is set, failing after a minute.
void waitFor(const bool& finished, const std::string& what) {
  if (!runMainQueueUntil([&finished] { return finished; }, 60)) {
    throw Failure(what + " took longer than a minute");
  }
}

// Opens the login form, as the in-app tool does for a reviewer who is not signed in.
void signIn(const ParsedOptions& options, const PasswordLoginForm& form) {
  if (KVSession::sharedInstance().isLoggedIn()) return;
  if (!options.has("--user")) {
    throw UsageError("not signed in: needs --user NAME (the password is read from standard input)");
  }
  bool finished = false;
  bool cancelled = true;
  KVLoginViewController::openLoginFormWithCompletion([&](bool wasCancelled) {
    cancelled = wasCancelled;
    finished = true;
  });
  waitFor(finished, "signing in");
  if (cancelled) throw Failure(form.failure());
}

// The workflow step named by uid, saved as the reviewer's choice.
std::shared_ptr<const KVWorkflowStep> chooseStep(const std::string& uid) {
  bool finished = false;
  std::optional<KVError> failure;
  KVWorkflowSteps steps;
  KVApi::projectWorkflowsForce(true, [&](std::optional<KVError> error, KVWorkflowSteps got) {
    failure = std::move(error);
    steps = std::move(got);
    finished = true;
  });
  waitFor(finished, "reading the workflows");
  if (failure) throw Failure("workflows: " + failure->localizedDescription);
  for (const auto& step : steps) {
    if (step->uid != uid) continue;
    UserDefaults& defaults = Platform::current().userDefaults();
    defaults.setObject("KVWorkflowStep", step->archivedData());
    if (!defaults.synchronize()) throw Failure("cannot save the step in the user defaults");
    KVMainController::sharedInstance().setWorkflowStep(step);
    return step;
  }
  throw Failure("the project has no workflow step " + uid);
}

// Where the password comes from. --password is still taken for the scripts that use it, with a
// warning: on the command line, every user who lists processes can read it.
PasswordLoginForm::PasswordSource passwordSource(const ParsedOptions& options,
                                                 const std::string& user) {
  if (!options.has("--password")) return [user] { return readPassword(user); };
  std::fputs(
      "kolvane: warning: --password can be read by every user who lists processes; give the "
      "password on standard input instead\n",
      stderr);
  return [password = options.values.at("--password")] { return password; };
}

}  // namespace

int runPull(const Arguments& args) {
  const ParsedOptions options = parseOptions(args,
                                             {"--bundle", "--project", "--home", "--locale",
                                              "--step", "--user", "--password", "--environment"},
                                             {});
  if (!options.has("--locale")) throw UsageError("pull needs --locale ID");
  Platform::install(makeLinuxPlatform(platformOptionsFrom(options)));
  saveShownLocale(options.values.at("--locale"));
  KolvaneSDK::startWithProjectId(options.has("--project") ? options.values.at("--project") : "demo",
                                 startOptions(options));
  const std::string user = options.has("--user") ? options.values.at("--user") : "";
  auto form = std::make_shared<PasswordLoginForm>(user, passwordSource(options, user));
  KVLoginViewController::setLoginForm(form);
  signIn(options, *form);
  if (options.has("--step")) chooseStep(options.values.at("--step"));

  const auto store = KVMainController::sharedInstance().localeStrings();
  bool finished = false;
  std::optional<KVError> failure;
  store->pullWithCompletion([&](std::optional<KVError> error) {
    failure = std::move(error);
    finished = true;
  });
  waitFor(finished, "the download");
  if (failure) throw Failure("pull: " + failure->localizedDescription);
  KVMainController::sharedInstance().loadStrings();
  const auto& step = KVMainController::sharedInstance().workflowStep();
  printJson({{"user", KVSession::sharedInstance().userName()},
             {"step", step ? nlohmann::json(step->name) : nlohmann::json()},
             {"published", store->publishedFilePath()},
             {"pending", step ? nlohmann::json(store->pendingFilePath()) : nlohmann::json()},
             {"strings", store->loadedStrings() ? store->loadedStrings()->size() : 0}});
  return 0;
}

int runPaths(const Arguments& args) {
  const ParsedOptions options = parseOptions(args, {"--bundle", "--home"}, {});
  if (!options.words.empty()) throw UsageError("paths takes no KEY");
  const LinuxPlatformPaths paths = linuxPlatformPaths(platformOptionsFrom(options));
  printJson({{"filesFolder", paths.documentsFolder + "/Kolvane"},
             {"userDefaults", paths.userDefaultsFile}});
  return 0;
}

int runXliff(const Arguments& args) {
  if (args.size() < 2 || args[0] != "read") throw UsageError("expected read FILE");
  const ParsedOptions options =
      parseOptions({args.begin() + 2, args.end()}, {"--status"}, {"--source"});
  if (!options.words.empty()) throw UsageError("xliff read takes one FILE");
  unsigned status = 0;
  if (options.has("--status")) {
    const std::string& text = options.values.at("--status");
    auto [ptr, error] = std::from_chars(text.data(), text.data() + text.size(), status);
    if (error != std::errc() || ptr != text.data() + text.size()) {
      throw UsageError("--status takes a whole number");
    }
  }
  const auto bytes = Platform::current().fileSystem().readFile(args[1]);
  if (!bytes) throw Failure("cannot read " + args[1]);
  KVStringGroups sources;
  std::optional<KVError> error;
  const KVStringGroups strings = KVXliffParser::parseXliffData(
      *bytes, options.has("--source") ? &sources : nullptr, status, &error);
  nlohmann::json result = {{"strings", groupsJson(strings)}};
  if (options.has("--source")) result["sourceStrings"] = groupsJson(sources);
  if (error) result["error"] = error->localizedDescription;
  printJson(result);
  return error ? 1 : 0;
}

}  // namespace kolvane::cli
