// Text and locale services through ICU. Stateless; any thread.
#pragma once

#include "kolvane/platform.h"

namespace kolvane {

class IcuTextServices : public TextServices {
 public:
  std::u16string lowercase(std::u16string text) const override;
  std::u16string uppercase(std::u16string text) const override;
  std::string currentLocaleIdentifier() const override;
  std::vector<std::string> preferredLanguages() const override;
  std::string languageCode(std::string_view localeIdentifier) const override;
  std::string countryCode(std::string_view localeIdentifier) const override;
  std::optional<std::string> languageDisplayName(std::string_view languageCode) const override;
  std::optional<std::string> countryDisplayName(std::string_view countryCode) const override;
  std::u16string shortDateTime(double secondsSince1970) const override;
};

}  // namespace kolvane
