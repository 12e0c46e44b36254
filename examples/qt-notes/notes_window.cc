#include "notes_window.h"

#include <QAction>
#include <QEvent>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QVBoxLayout>

#include "about_dialog.h"
#include "ui_note_form.h"

NotesWindow::NotesWindow(QWidget* parent)
    : QMainWindow(parent),
      form_(new Ui::NoteForm),
      welcome_(new QLabel),
      status_(new QLabel),
      notes_(new QListWidget) {
  auto* central = new QWidget;
  auto* layout = new QVBoxLayout(central);
  layout->addWidget(welcome_);
  layout->addWidget(notes_);
  auto* formWidget = new QWidget;
  form_->setupUi(formWidget);
  layout->addWidget(formWidget);
  setCentralWidget(central);
  statusBar()->addWidget(status_);

  fileMenu_ = menuBar()->addMenu(QString());
  newAction_ = fileMenu_->addAction(QString(), this, &NotesWindow::addNote);
  newAction_->setShortcut(QKeySequence::New);
  openAction_ = fileMenu_->addAction(QString());
  fileMenu_->addSeparator();
  quitAction_ = fileMenu_->addAction(QString(), this, &QWidget::close);
  helpMenu_ = menuBar()->addMenu(QString());
  aboutAction_ = helpMenu_->addAction(QString(), this, [this] { AboutDialog(this).exec(); });
  connect(form_->saveButton, &QPushButton::clicked, this, &NotesWindow::addNote);
  retranslate();
}

NotesWindow::~NotesWindow() { delete form_; }

void NotesWindow::changeEvent(QEvent* event) {
  if (event->type() == QEvent::LanguageChange) {
    form_->retranslateUi(centralWidget());
    retranslate();
  }
  QMainWindow::changeEvent(event);
}

void NotesWindow::retranslate() {
  setWindowTitle(tr("Notes"));
  welcome_->setText(tr("Welcome to %1!").arg(tr("Kolvane Notes")));
  status_->setText(tr("%n note(s)", nullptr, notes_->count()));
  fileMenu_->setTitle(tr("&File"));
  newAction_->setText(tr("&New Note"));
  //: Opens a note: the verb, not the state.
  openAction_->setText(tr("&Open", "verb"));
  quitAction_->setText(tr("&Quit"));
  helpMenu_->setTitle(tr("&Help"));
  aboutAction_->setText(tr("&About Notes"));
  newAction_->setStatusTip(tr("Write a new note"));
}

void NotesWindow::addNote() {
  const QString title = form_->titleEdit->text().trimmed();
  notes_->addItem(title.isEmpty() ? tr("Untitled note") : title);
  form_->titleEdit->clear();
  status_->setText(tr("%n note(s)", nullptr, notes_->count()));
}

QStringList NotesWindow::allTexts() const {
  QStringList texts{windowTitle(), welcome_->text(), status_->text()};
  for (const QMenu* menu : {fileMenu_, helpMenu_}) {
    texts << menu->title();
    for (const QAction* action : menu->actions()) {
      if (!action->isSeparator()) texts << action->text();
    }
  }
  texts << newAction_->statusTip();
  for (const QLabel* label : centralWidget()->findChildren<QLabel*>()) texts << label->text();
  for (const QPushButton* button : centralWidget()->findChildren<QPushButton*>()) {
    texts << button->text();
  }
  texts << form_->titleEdit->placeholderText();
  AboutDialog about(const_cast<NotesWindow*>(this));
  texts << about.allTexts();
  for (int count : {0, 1, 2, 5, 11, 21, 101}) texts << tr("%n note(s)", nullptr, count);
  texts << tr("Open", "state") << tr("Untitled note");
  return texts;
}
