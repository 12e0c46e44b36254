// The notes window: a menu bar, a list of notes, a form to write one, a status line.
#pragma once

#include <QMainWindow>
#include <QStringList>

class QLabel;
class QListWidget;
namespace Ui {
class NoteForm;
}

class NotesWindow : public QMainWindow {
  Q_OBJECT

 public:
  explicit NotesWindow(QWidget* parent = nullptr);
  ~NotesWindow() override;
  // Every text the window and its menus show, in a fixed order.
  QStringList allTexts() const;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void retranslate();
  void addNote();

  Ui::NoteForm* form_;
  QLabel* welcome_;
  QLabel* status_;
  QListWidget* notes_;
  QMenu* fileMenu_;
  QMenu* helpMenu_;
  QAction* newAction_;
  QAction* openAction_;
  QAction* quitAction_;
  QAction* aboutAction_;
};
