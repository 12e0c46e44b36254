// KVViewStrings: the text one label shows, traced back to the string records it was built from
// (nested ones too, with the argument values they were given), and rebuilt from the records as
// the stores hold them after an edit. Main thread.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kolvane/attributed_text.h"
#include "kolvane/host_view.h"
#include "strings/edition_item.h"
#include "strings/string_record.h"

namespace kolvane {

class KVViewStrings {
 public:
  using Values = std::vector<KVArgumentValue>;

  // The view whose text this is; held as long as the capture lives.
  std::shared_ptr<KVHostView> view;
  // The text as it was captured: plain, or attributed (which wins for rebuilding).
  std::optional<std::u16string> originalString;
  std::optional<KVAttributedText> originalAttributedString;
  // The object the plain text was read from, as the host identifies it (a text field takes a
  // new placeholder only from the very object it shows); null when unknown.
  const void* originalStringIdentity = nullptr;

  // Traces the text: the distinct records found, innermost and latest first, each with its
  // argument values, and the outermost spans in text order. A record met a second time is
  // dropped whole, even when the same string stands twice in the text.
  const std::vector<std::shared_ptr<const KVString>>& kolvaneStringsInString();

  const std::vector<std::shared_ptr<const KVString>>& kolvaneStrings() const { return strings_; }
  const std::vector<Values>& valuesForKolvaneStrings() const { return values_; }
  const std::vector<KVEditionItem>& orderedFirstLevelStrings() const { return firstLevel_; }

  // The text rebuilt from the current records: the outermost spans one after the other (text
  // around them is dropped), or, without any, the captured text with each record's format
  // replaced by its current one everywhere.
  std::u16string newLocalizedString() const;
  // The same keeping the captured attributes; without spans only the first occurrence of each
  // format is replaced.
  KVAttributedText newLocalizedAttributedString() const;
  // The record's format with its argument values put back (nested records rebuilt in turn).
  std::u16string newLocalizedStringForKolvaneString(const KVString& string) const;
  // The record as the base store holds it now. The shown locale's store is asked first and its
  // answer left unused: what is rebuilt is the base store's text.
  static std::shared_ptr<const KVString> updatedKolvaneString(const KVString& string);

  // Puts the rebuilt text on the view, lets the control that owns it take the text too, and
  // redraws the view and its ancestors.
  void updateView() const;
  std::string description() const;

 private:
  // Where the record at the same index of `strings_` was found.
  struct Span {
    KVRange range;
    unsigned level = 0;
  };
  std::u16string capturedText() const;
  // The current text of an outermost span, or nothing when its record is gone.
  std::optional<std::u16string> currentTextOf(const KVEditionItem& item) const;
  std::u16string rebuiltFormat(const KVString& string, int depth) const;

  std::vector<std::shared_ptr<const KVString>> strings_;
  std::vector<Span> spans_;
  std::vector<Values> values_;
  std::vector<KVEditionItem> firstLevel_;
};

}  // namespace kolvane
