#include "qt_reject_reason_dialog.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "qt_popup_window.h"
#include "qt_views.h"

namespace kolvane::qt {

RejectReasonDialog::RejectReasonDialog(std::shared_ptr<KVRejectReasonForm> form, QWidget* over)
    : QDialog(over), form_(std::move(form)) {
  markAsKolvaneWindow(this);
  setWindowTitle(QStringLiteral("Kolvane \u2014 ") + toQString(form_->title()));
  setToolWindowFlags(this);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(
      new QLabel(toQString(kKVEditionKeyPrefix) + QString::fromStdString(form_->key())));
  layout->addWidget(new QLabel(toQString(form_->reasonLabel())));
  auto* reasons = new QButtonGroup(this);
  const auto& choices = KVRejectReasonForm::reasons();
  for (std::size_t i = 0; i < choices.size(); ++i) {
    auto* choice = new QRadioButton(toQString(choices[i].title), this);
    reasons->addButton(choice, static_cast<int>(i));
    layout->addWidget(choice);
  }
  layout->addWidget(new QLabel(toQString(form_->descriptionLabel())));
  auto* description = new QPlainTextEdit(this);
  description->setMaximumHeight(80);
  layout->addWidget(description);
  auto* buttons = new QDialogButtonBox(this);
  send_ = buttons->addButton(toQString(form_->sendTitle()), QDialogButtonBox::AcceptRole);
  auto* cancel = buttons->addButton(toQString(form_->cancelTitle()), QDialogButtonBox::RejectRole);
  send_->setEnabled(form_->canSend());
  layout->addWidget(buttons);

  connect(reasons, &QButtonGroup::idClicked, this, [this](int id) {
    form_->selectReason(static_cast<std::size_t>(id));
    send_->setEnabled(form_->canSend());
  });
  connect(description, &QPlainTextEdit::textChanged, this, [this, description] {
    form_->setDescription(description->toPlainText().toStdU16String());
  });
  connect(send_, &QPushButton::clicked, this, [this] {
    form_->send();
    if (form_->isDone()) accept();
  });
  connect(cancel, &QPushButton::clicked, this, [this] {
    form_->cancel();
    reject();
  });
}

}  // namespace kolvane::qt
