// The kolvane tool's commands. Each takes the arguments after its name and returns the exit
// status: 0 done, 1 failed (reported on stderr), 2 bad usage.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace kolvane::cli {

using Arguments = std::vector<std::string>;

// Thrown for a command line that does not fit the command; main prints the usage.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
// Thrown for a failure to report as "kolvane: <message>".
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

int runCues(const Arguments& args);
int runString(const Arguments& args);
int runPlural(const Arguments& args);
int runLocale(const Arguments& args);
int runBase64(const Arguments& args);
int runUrlParams(const Arguments& args);
int runStrings(const Arguments& args);
int runLookup(const Arguments& args);
int runPaths(const Arguments& args);
int runXliff(const Arguments& args);
int runPull(const Arguments& args);
int runTs(const Arguments& args);

}  // namespace kolvane::cli
