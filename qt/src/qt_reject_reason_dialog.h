// The reject-reason form drawn with Qt Widgets, over the edition screen: the reasons as a list
// of choices, a free text, Send (once a reason is chosen) and Cancel. Main thread.
#pragma once

#include <QDialog>
#include <memory>

#include "kolvane/reject_reason.h"

class QPushButton;

namespace kolvane::qt {

class RejectReasonDialog : public QDialog {
 public:
  RejectReasonDialog(std::shared_ptr<KVRejectReasonForm> form, QWidget* over);
  KVRejectReasonForm& form() { return *form_; }
  QPushButton* sendButton() const { return send_; }

 private:
  std::shared_ptr<KVRejectReasonForm> form_;
  QPushButton* send_ = nullptr;
};

}  // namespace kolvane::qt
