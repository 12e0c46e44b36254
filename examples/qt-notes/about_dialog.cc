#include "about_dialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent), title_(new QLabel), body_(new QLabel) {
  setWindowTitle(tr("About %1").arg(QApplication::applicationName()));
  title_->setText(tr("<b>Notes</b> %1").arg(QApplication::applicationVersion()));
  body_->setText(tr("A small app to keep notes.\nIts texts come from Linguist catalogues."));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(title_);
  layout->addWidget(body_);
  layout->addWidget(buttons);
}

QStringList AboutDialog::allTexts() const { return {windowTitle(), title_->text(), body_->text()}; }
