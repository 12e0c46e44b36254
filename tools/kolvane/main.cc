// kolvane: the developer's companion tool. Inspects cues, plural categories, locale ids,
// codecs and strings files, and looks strings up in a bundle as an app would.
#include <cstdio>
#include <exception>
#include <map>
#include <string>

#include "commands.h"

namespace {

constexpr const char* kUsage = R"(usage:
  kolvane cues mark|show|strip|find TEXT
  kolvane string TEXT
  kolvane plural LOCALE_ID VALUE
  kolvane locale to-server|from-server|name ID
  kolvane base64 encode [--wrap N] < BYTES
  kolvane base64 decode < TEXT
  kolvane url-params URL
  kolvane strings read FILE
  kolvane xliff read FILE [--status N] [--source]
  kolvane ts read FILE
  kolvane lookup --bundle DIR [--project ID] [--home DIR] [--locale ID] [--plural VALUE]
                 [--environment stage|production] [--context NAME] [--disambiguation TEXT]
                 [--show] KEY...
  kolvane paths --bundle DIR [--home DIR]
  kolvane pull --bundle DIR --locale ID [--project ID] [--home DIR] [--step UID]
               [--user NAME] [--environment stage|production]
               (the password is read from standard input)
)";

using Command = int (*)(const kolvane::cli::Arguments&);

const std::map<std::string, Command>& commands() {
  static const std::map<std::string, Command> table = {
      {"cues", kolvane::cli::runCues},       {"string", kolvane::cli::runString},
      {"plural", kolvane::cli::runPlural},   {"locale", kolvane::cli::runLocale},
      {"base64", kolvane::cli::runBase64},   {"url-params", kolvane::cli::runUrlParams},
      {"strings", kolvane::cli::runStrings}, {"lookup", kolvane::cli::runLookup},
      {"paths", kolvane::cli::runPaths},     {"pull", kolvane::cli::runPull},
      {"xliff", kolvane::cli::runXliff},     {"ts", kolvane::cli::runTs},
  };
  return table;
}

int usage(const std::string& problem) {
  if (!problem.empty()) std::fprintf(stderr, "kolvane: %s\n", problem.c_str());
  std::fputs(kUsage, stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return usage("");
  const std::string name = argv[1];
  if (name == "--help" || name == "-h" || name == "help") {
    std::fputs(kUsage, stdout);
    return 0;
  }
  const auto command = commands().find(name);
  if (command == commands().end()) return usage("unknown command '" + name + "'");
  try {
    return command->second(kolvane::cli::Arguments(argv + 2, argv + argc));
  } catch (const kolvane::cli::UsageError& error) {
    return usage(error.what());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kolvane: %s\n", error.what());
    return 1;
  }
}
