// KVXliffParser: reads an XLIFF 1.2 document into string groups, marking each text with cues
// (placeholders come from its <ph> elements). The document is untrusted input: no network,
// no external entities, no DTD loading, libxml2's own limits left on. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"
#include "strings/string_group.h"
#include "strings/string_table.h"

namespace kolvane {

class KVXliffParser {
 public:
  // The target texts by key. Units with an empty target are left out. When `sourceStrings` is
  // given it receives the source texts (status 4). On malformed XML `error` receives the
  // parser's error and what was read up to it is still returned.
  // A group gets `stringStatus` only when a second unit of its key arrives (a plural string);
  // a group made from a single unit keeps status 0.
  static KVStringGroups parseXliffData(std::string_view data, KVStringGroups* sourceStrings,
                                       unsigned stringStatus, std::optional<KVError>* error);
  static KVStringGroups parseXliffData(std::string_view data, unsigned stringStatus,
                                       std::optional<KVError>* error) {
    return parseXliffData(data, nullptr, stringStatus, error);
  }
  // The same target texts straight into a table's builder, with no group objects.
  static void parseXliffDataInto(KVStringTableBuilder& builder, std::string_view data,
                                 unsigned stringStatus, std::optional<KVError>* error);

  // The event handlers, in the order the parser calls them.
  void didStartElement(std::string_view name, std::string_view id, std::string_view resname);
  void didEndElement(std::string_view name);
  void foundCharacters(std::string_view utf8);

 private:
  enum State : unsigned { kSource = 0, kTarget = 1, kNote = 2, kNowhere = 3 };

  void addString(KVStringGroups& groups, std::u16string&& text, unsigned status);
  // Whether the marked text holds a placeholder with no specifier, or one not closed or nested
  // (logged when it does).
  bool refusedForBrokenPlaceholder(std::u16string_view text) const;

  bool needCues = true;
  KVStringTableBuilder* builder = nullptr;  // where the targets go, when given
  unsigned stringStatus = 0;
  KVStringGroups strings;
  std::optional<KVStringGroups> sourceStrings;
  std::string key;
  std::string uid;
  std::u16string source;
  std::u16string target;
  std::u16string note;
  std::optional<std::string> pluralForm;
  unsigned state = kNowhere;
};

}  // namespace kolvane
