// KVXliffWriter: writes string groups as an XLIFF 1.2 document, the layout the server takes
// for uploads and the locale store keeps as its edited file. Texts are XML-escaped so that
// what is written reads back. Main thread (it reads the runtime's locales and workflow step).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>

#include "core/error.h"
#include "strings/string_group.h"

namespace kolvane {

// Key to what could not be written: a form without text or unit id, or, when the file write
// failed, every group given.
using KVWriteFailures =
    std::unordered_map<std::string,
                       std::variant<std::shared_ptr<KVString>, std::shared_ptr<KVStringGroup>>>;

class KVXliffWriter {
 public:
  // Writes the document to `path` atomically. On a failed write every group given is added to
  // `failures` and the error is returned.
  static std::optional<KVError> writeXliffFromStrings(const KVStringGroups& strings,
                                                      const std::string& path,
                                                      KVWriteFailures* failures);
  // The whole document.
  static std::string xliffFromStrings(const KVStringGroups& strings, KVWriteFailures* failures);
  // One trans-unit, or none when the form has no text or no unit id.
  static std::optional<std::string> xliffForString(const KVString& string, std::string_view phase);
  // The text with each placeholder as a <ph> element numbered from 1, cues removed.
  static std::string stringWithTagsForString(const KVString& string);
};

}  // namespace kolvane
