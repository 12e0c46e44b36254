// Kolvane's start in a Qt app: the app's identity from QCoreApplication, so that it needs no
// bundle folder.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>

namespace kolvane::qt {

// The info values of the running app: "CFBundleIdentifier" from the organisation's domain
// reversed and the application's name ("com.example.Mail"), "CFBundleName",
// "CFBundleShortVersionString" and "CFBundleDevelopmentRegion" ("en", the language the
// source texts are written in). The options "bundleIdentifier" and "developmentLanguage"
// override theirs.
std::map<std::string, std::string> applicationInfo(const nlohmann::json& options);

}  // namespace kolvane::qt
