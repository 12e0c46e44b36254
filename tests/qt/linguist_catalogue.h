// Linguist catalogues (.ts) shaped like real apps', made up here: many contexts, numerus
// messages, disambiguation comments, source texts that come again in another context with
// another translation, HTML, "&" mnemonics, multi-line texts, placeholders, and unfinished,
// vanished, obsolete and empty entries; compiled with lrelease.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kolvane::testing {

struct LinguistMessage {
  std::string context;
  std::string source;
  std::string disambiguation;  // the .ts <comment>
  bool numerus = false;
};

struct LinguistCatalogue {
  std::string language;  // "ru", "pl", "ar", "ja", ...
  std::size_t numerusForms = 2;
  std::vector<LinguistMessage> messages;
  std::string ts;  // the .ts file's text
};

// A catalogue of about `messages` messages in `contexts` contexts translated into `language`,
// always the same for the same arguments.
LinguistCatalogue makeLinguistCatalogue(const std::string& language, std::size_t contexts,
                                        std::size_t messages);

// Writes `catalogue` to `folder`/<name>.ts and compiles it with `lrelease` into
// `folder`/<name>.qm; the .qm path, or empty when lrelease failed.
std::string compileLinguistCatalogue(const LinguistCatalogue& catalogue,
                                     const std::string& lrelease, const std::string& folder,
                                     const std::string& name);

}  // namespace kolvane::testing
