// The process's language preferences as the locale environment variables give them.
#pragma once

#include <string>
#include <vector>

namespace kolvane {

// LANGUAGE's list, then the first of LC_ALL, LC_MESSAGES, LANG that is set, as written.
std::vector<std::string> processLanguages();

// "fr_FR.UTF-8@euro" gives "fr_FR"; "C" and "POSIX" name no language and give "".
std::string languageOfEnvironmentEntry(const std::string& entry);

}  // namespace kolvane
