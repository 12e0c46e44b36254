// The About box.
#pragma once

#include <QDialog>
#include <QStringList>

class QLabel;

class AboutDialog : public QDialog {
  Q_OBJECT

 public:
  explicit AboutDialog(QWidget* parent = nullptr);
  QStringList allTexts() const;

 private:
  QLabel* title_;
  QLabel* body_;
};
