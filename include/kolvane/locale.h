// A locale named by its platform identifier (parts joined by underscores, such as fr_FR or
// zh_Hans_CN). A plain value; safe to copy between threads.
#pragma once

#include <string>

#include "kolvane/export.h"

namespace kolvane {

class KOLVANE_EXPORT Locale {
 public:
  explicit Locale(std::string identifier) : identifier_(std::move(identifier)) {}

  const std::string& localeIdentifier() const { return identifier_; }
  // The ISO language and region codes as the platform's locale services read them from the
  // identifier; empty when the identifier has none.
  std::string languageCode() const;
  std::string countryCode() const;

  bool operator==(const Locale& other) const { return identifier_ == other.identifier_; }
  bool operator!=(const Locale& other) const { return !(*this == other); }

 private:
  std::string identifier_;
};

}  // namespace kolvane
