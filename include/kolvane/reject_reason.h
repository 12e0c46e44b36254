// The form a reviewer fills to reject a translation: one of the reasons the server files
// issues under, and a free text. A toolkit adapter draws it, forwards the reviewer's input,
// and closes it when it reports that it is done. Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kolvane/edition_screen.h"
#include "kolvane/export.h"

namespace kolvane {

struct KVRejectReason {
  std::string code;      // the sub-type code, e.g. "WRONG_TERM"
  std::u16string title;  // what the reviewer reads
};

class KOLVANE_EXPORT KVRejectReasonForm {
 public:
  // The form for the current string of `screen`, which hears the answer.
  explicit KVRejectReasonForm(std::shared_ptr<KVEditionScreen> screen);

  static const std::vector<KVRejectReason>& reasons();
  // "Reject", the key of the string, and the labels of the form.
  std::u16string title() const { return u"Reject"; }
  std::string key() const;
  std::u16string reasonLabel() const { return u"Why is this translation wrong?"; }
  std::u16string descriptionLabel() const { return u"Details for the translator (optional)"; }
  std::u16string sendTitle() const { return u"Send"; }
  std::u16string cancelTitle() const { return u"Cancel"; }

  std::optional<std::size_t> selectedReason() const { return selected_; }
  void selectReason(std::size_t index);
  void setDescription(std::u16string description) { description_ = std::move(description); }
  // A reason must be chosen first.
  bool canSend() const { return selected_.has_value(); }
  // Rejects the string with the reason; the form is done.
  void send();
  // Leaves the string as it was; the form is done.
  void cancel() { done_ = true; }
  bool isDone() const { return done_; }

 private:
  std::shared_ptr<KVEditionScreen> screen_;
  std::optional<std::size_t> selected_;
  std::u16string description_;
  bool done_ = false;
};

}  // namespace kolvane
