// Loading a project from a seed folder: project.json (id, name, locales, users, workflows) and
// one <locale>.xlf per locale whose units name the step their text sits in by phase-name.
#pragma once

#include <string>

#include "store.h"

namespace devserver {

// Throws std::runtime_error naming the file at fault.
void loadSeed(Store& store, const std::string& folder);

}  // namespace devserver
