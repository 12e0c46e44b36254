#include "qt_start.h"

#include <QCoreApplication>

#include "kolvane/kolvane.h"
#include "kolvane/linux_platform.h"
#include "kolvane/platform.h"
#include "kolvane/qt.h"

namespace kolvane::qt {
namespace {

// A name that may stand in a file path: no separators, no spaces.
std::string plainPart(const QString& text) {
  QString part = text.trimmed();
  part.replace(QLatin1Char(' '), QLatin1Char('-'));
  part.remove(QLatin1Char('/')).remove(QLatin1Char('\\')).remove(QChar(0));
  return part.toStdString();
}

std::string optionText(const nlohmann::json& options, const char* name) {
  if (!options.is_object()) return {};
  const auto found = options.find(name);
  return found != options.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::string identifierFromApplication() {
  const QStringList domain =
      QCoreApplication::organizationDomain().split(QLatin1Char('.'), Qt::SkipEmptyParts);
  std::string identifier;
  for (auto part = domain.rbegin(); part != domain.rend(); ++part) {
    identifier += plainPart(*part) + ".";
  }
  std::string name = plainPart(QCoreApplication::applicationName());
  if (name.empty() || name == "." || name == "..") name = "qt-app";
  return identifier + name;
}

}  // namespace

std::map<std::string, std::string> applicationInfo(const nlohmann::json& options) {
  std::map<std::string, std::string> info;
  std::string identifier =
      plainPart(QString::fromStdString(optionText(options, "bundleIdentifier")));
  info["CFBundleIdentifier"] = identifier.empty() ? identifierFromApplication() : identifier;
  info["CFBundleName"] = QCoreApplication::applicationName().toStdString();
  if (const QString version = QCoreApplication::applicationVersion(); !version.isEmpty()) {
    info["CFBundleShortVersionString"] = version.toStdString();
  }
  const std::string language = optionText(options, "developmentLanguage");
  info["CFBundleDevelopmentRegion"] = language.empty() ? "en" : language;
  return info;
}

}  // namespace kolvane::qt

namespace kolvane {

void KolvaneQt::start(const std::string& projectId, const nlohmann::json& options) {
  static bool platformInstalled = false;
  if (!platformInstalled) {
    LinuxPlatformOptions platform;
    platform.defaultInfo = qt::applicationInfo(options);
    Platform::install(makeLinuxPlatform(platform));
    platformInstalled = true;
  }
  KolvaneSDK::startWithProjectId(projectId, options);
  install();
}

}  // namespace kolvane
