// Qt Linguist catalogues (.ts) as the dev server reads (imports) and writes (exports) them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devserver {

struct LinguistMessage {
  std::string context;
  std::string source;
  std::string comment;  // the disambiguation
  bool numerus = false;
  // "" for a finished translation, else "unfinished", "vanished" or "obsolete".
  std::string type;
  // One text, or a numerus message's forms in Qt's order; plain text.
  std::vector<std::string> translations;
};

struct LinguistFile {
  std::string language;        // as written, "fr_FR"
  std::string sourceLanguage;  // "en" when the file names none
  std::vector<LinguistMessage> messages;
};

// None when it is not well-formed XML or not a <TS> document, or declares entities.
std::optional<LinguistFile> readLinguist(std::string_view bytes);
// The messages grouped by context in the order they come.
std::string writeLinguist(const LinguistFile& file);

}  // namespace devserver
