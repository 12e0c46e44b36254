// The edition screen as a model: one page per string found under a press, with the string's
// key, review status, plural forms, source text and editable text (placeholders as capsules),
// and the Accept, Reject and Close actions. A toolkit adapter draws it, forwards the
// reviewer's input to its commands, and redraws when it reports a change. Main thread only.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kolvane/attributed_text.h"
#include "kolvane/export.h"

namespace kolvane {

inline constexpr char16_t kKVEditionCloseTitle[] = u"Close";
inline constexpr char16_t kKVEditionAcceptTitle[] = u"Accept";
inline constexpr char16_t kKVEditionRejectTitle[] = u"Reject";
inline constexpr char16_t kKVEditionKeyPrefix[] = u"Key: ";

// Capsule sizes, in points: the source text and the editable text.
inline constexpr double kKVSourceCapsuleSize = 16.0;
inline constexpr double kKVFieldCapsuleSize = 24.0;

// The attributes of a capsule standing for `placeholder`, drawn at `size` points, editable or
// not: what an adapter gives a capsule it makes itself (one pasted into a field).
KOLVANE_EXPORT KVTextAttributes kv_capsuleAttributes(std::string_view placeholder, double size,
                                                     bool editing);

struct KVEditionPage {
  std::string key;
  std::u16string status;
  // The plural categories in order (zero … other); empty for a string without plural forms,
  // which shows no chooser.
  std::vector<std::string> pluralFormNames;
  std::size_t selectedPluralForm = 0;
  std::u16string pluralNote;
  KVAttributedText sourceText;
  // The string in the app's development language ("English: Sent %@ today"), so the reviewer
  // sees the original; empty when the base has no such string.
  std::u16string developmentText;
  KVAttributedText fieldText;
  // The value the app put in each placeholder of the shown text, in text order, where known.
  std::vector<std::u16string> placeholderValues;
  // Whether the current workflow step lets the reviewer type; otherwise the page is for review.
  bool editable = false;
};

// An alert: button 0 is the cancel button, the others follow it in order.
struct KVAlert {
  std::u16string title;
  std::u16string message;
  std::u16string cancelButtonTitle;
  std::vector<std::u16string> otherButtonTitles;
  int tag = 0;  // what the alert asks, for the screen that answers it
  // The technical cause behind the message ("Details"); empty when there is none.
  std::u16string details;
};

class KOLVANE_EXPORT KVEditionScreen {
 public:
  virtual ~KVEditionScreen();

  virtual std::size_t pageCount() const = 0;
  virtual KVEditionPage page(std::size_t index) const = 0;
  // A capsule's tooltip: its placeholder and, when the app's value for it is known, that value
  // ("%1$@ = Ann"). `rank` is the capsule's place among the capsules of the page's field.
  virtual std::u16string capsuleTip(std::size_t page, std::u16string_view placeholder,
                                    std::size_t rank) const = 0;
  virtual std::size_t currentPage() const = 0;
  virtual bool acceptEnabled() const = 0;
  virtual bool rejectEnabled() const = 0;
  // The alert to show, if any.
  virtual std::optional<KVAlert> alert() const = 0;
  // Saved and dismissed, or dismissed without saving.
  virtual bool isClosed() const = 0;

  // The pages scrolled to `offset` in a view `width` wide.
  virtual void scrollViewDidScroll(double offset, double width) = 0;
  virtual void changePluralForm(std::size_t page, std::size_t index) = 0;
  // The reviewer changed the text of a page (in its selected plural form).
  virtual void textViewDidChange(std::size_t page, const KVAttributedText& text) = 0;
  virtual void accept() = 0;
  virtual void reject() = 0;
  // The reason for the rejection asked by reject() was given: a reason code of the server's
  // issues (see kolvane/reject_reason.h) and the reviewer's free text.
  virtual void rejectReasonWasGiven(const std::string& reason,
                                    const std::u16string& description) = 0;
  // "Close": saves when every placeholder count matches, else shows the alert. Every way of
  // leaving the screen other than the alert's "Cancel changes" comes here (Escape, closing the
  // window), so that nothing typed is dropped without the reviewer choosing so.
  virtual void validate() = 0;
  // The alert's answer. Button 0, "Keep editing" (also what closing the alert answers), goes
  // back to the screen with the typed texts as they were, on a page that failed; button 1,
  // "Cancel changes", closes without saving.
  virtual void alertButtonClicked(std::size_t button) = 0;

  // Called after every change of what the screen shows.
  virtual void setChangeHandler(std::function<void()> handler) = 0;
};

}  // namespace kolvane
