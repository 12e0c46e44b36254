// Loading a project from a seed folder: project.json (id, name, locales, users, workflows) and
// one <locale>.xlf per locale whose units name the step their text sits in by phase-name.
#pragma once

#include <string>

#include "store.h"

namespace devserver {

// Throws std::runtime_error naming the file at fault.
void loadSeed(Store& store, const std::string& folder);

// The last step of the project's first workflow: where published text sits.
std::string publishedStep(const nlohmann::json& project);

// The project description in `folder`/project.json. Throws std::runtime_error when it is not
// one.
nlohmann::json readProjectSettings(const std::string& folder);

// The whole of a file. Throws std::runtime_error when it cannot be read.
std::string readFile(const std::string& path);

}  // namespace devserver
