#include "seed.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "xliff.h"

namespace devserver {
std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::ostringstream contents;
  contents << in.rdbuf();
  return contents.str();
}

std::string publishedStep(const nlohmann::json& project) {
  return project.at("workflows").at(0).at("steps").back().at("uid");
}

nlohmann::json readProjectSettings(const std::string& folder) {
  const std::string settingsPath = folder + "/project.json";
  auto settings = nlohmann::json::parse(readFile(settingsPath), nullptr, false);
  if (!settings.is_object() || !settings.contains("id") || !settings.contains("workflows")) {
    throw std::runtime_error(settingsPath + " is not a project description");
  }
  return settings;
}

void loadSeed(Store& store, const std::string& folder) {
  const auto settings = readProjectSettings(folder);
  store.putProject(settings);
  const std::string project = settings.at("id");
  const std::string published = publishedStep(settings);
  for (const auto& locale : settings.at("locales")) {
    const std::string path = folder + "/" + locale.get<std::string>() + ".xlf";
    const auto units = readXliff(readFile(path));
    if (!units) throw std::runtime_error(path + " is not XLIFF");
    std::vector<Store::TextPut> texts;
    for (const auto& unit : *units) {
      store.putUnit(project, {unit.id, hashcodeOf(unit.id), unit.resname});
      texts.push_back({unit.id, unit.phase.empty() ? published : unit.phase, unit.target});
    }
    store.putTexts(project, locale, texts, published);
  }
}

}  // namespace devserver
