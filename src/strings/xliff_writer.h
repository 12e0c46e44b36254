// KVXliffWriter: writes string groups as an XLIFF 1.2 document, the layout the server takes
// for uploads and the locale store keeps as its edited file. Texts are XML-escaped so that
// what is written reads back. The caller says what the document is about (KVXliffContext).
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>

#include "base/error.h"
#include "strings/string_group.h"

namespace kolvane {

// Key to what could not be written: a form without text or unit id, or, when the file write
// failed, every group given.
using KVWriteFailures =
    std::unordered_map<std::string,
                       std::variant<std::shared_ptr<KVString>, std::shared_ptr<KVStringGroup>>>;

// What a document is about: its languages (server ids), the workflow step whose texts it
// carries, and where each form's source text comes from.
struct KVXliffContext {
  std::string sourceLanguage;
  std::string targetLanguage;
  std::string phaseName;    // the step's uid
  std::string processName;  // the step's name
  // The source-language form of a translated one; none leaves <source> empty.
  std::function<std::shared_ptr<const KVString>(const KVString& form)> sourceForm;
};

class KVXliffWriter {
 public:
  // Writes the document to `path` atomically. On a failed write every group given is added to
  // `failures` and the error is returned.
  [[nodiscard]] static std::optional<KVError> writeXliffFromStrings(const KVStringGroups& strings,
                                                                    const KVXliffContext& context,
                                                                    const std::string& path,
                                                                    KVWriteFailures* failures);
  // The whole document.
  static std::string xliffFromStrings(const KVStringGroups& strings, const KVXliffContext& context,
                                      KVWriteFailures* failures);
  // One trans-unit, or none when the form has no text or no unit id.
  static std::optional<std::string> xliffForString(const KVString& string,
                                                   const KVXliffContext& context);
  // The text with each placeholder as a <ph> element numbered from 1, cues removed.
  static std::string stringWithTagsForString(const KVString& string);
};

}  // namespace kolvane
