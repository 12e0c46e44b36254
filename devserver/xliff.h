// The XLIFF 1.2 the dev server reads (seed files, uploads) and writes (exports).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devserver {

struct XliffUnit {
  std::string id;
  std::string resname;
  std::string phase;   // the unit's phase-name, else the header's
  std::string target;  // inner XML of <target>; empty when it has none
};

// The units of a document; none when it is not well-formed XML.
std::optional<std::vector<XliffUnit>> readXliff(std::string_view bytes);

struct ExportUnit {
  std::string id;
  std::string resname;
  std::string source;  // inner XML
  std::string target;  // inner XML
};
std::string writeXliff(const std::string& sourceLocale, const std::string& targetLocale,
                       const std::vector<ExportUnit>& units);

// The hash code of a unit id: the id without its "[category]".
std::string hashcodeOf(const std::string& unitId);

}  // namespace devserver
