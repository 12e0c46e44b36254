// Qt Linguist catalogues (.ts): read (the dev server's import, the command-line tool) and
// written (the dev server's export). Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kolvane {

struct KVLinguistMessage {
  std::string context;
  std::string source;
  std::string comment;  // the disambiguation
  bool numerus = false;
  // "" for a finished translation, else "unfinished", "vanished" or "obsolete".
  std::string type;
  // One text, or a numerus message's forms in Qt's order; plain text.
  std::vector<std::string> translations;
};

struct KVLinguistFile {
  std::string language;        // as written, "fr_FR"
  std::string sourceLanguage;  // "en" when the file names none
  std::vector<KVLinguistMessage> messages;
};

// None when it is not well-formed XML or not a <TS> document, or declares entities.
std::optional<KVLinguistFile> kv_readLinguist(std::string_view bytes);
// The messages grouped by context in the order they come.
std::string kv_writeLinguist(const KVLinguistFile& file);

}  // namespace kolvane
