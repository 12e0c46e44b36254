// Attributed texts with capsules in Qt's rich text: a capsule is one U+FFFC whose character
// format draws it as a rounded tag and keeps the placeholder it stands for. The caret steps
// over a capsule, Backspace deletes it, undo brings it back, and typing next to one gives
// plain text. Main thread.
#pragma once

#include <QTextEdit>
#include <functional>

#include "kolvane/attributed_text.h"

class QTextDocument;

namespace kolvane::qt {

// Draws capsules in `document`.
void registerCapsules(QTextDocument* document);
void setAttributedText(QTextDocument* document, const KVAttributedText& text);
KVAttributedText attributedText(const QTextDocument* document);

// An editor whose cut, copy, paste and drag keep capsules (Qt's own rich-text clipboard drops
// inline objects, so capsules travel under a MIME type of Kolvane's).
class CapsuleTextEdit : public QTextEdit {
 public:
  explicit CapsuleTextEdit(QWidget* parent = nullptr);
  static constexpr char kMimeType[] = "application/x-kolvane-attributed-text";
  // What a capsule's tooltip says, given its placeholder and its place among the capsules.
  using CapsuleTip = std::function<QString(const QString& placeholder, std::size_t rank)>;
  void setCapsuleTip(CapsuleTip tip) { capsuleTip_ = std::move(tip); }

 protected:
  bool event(QEvent* event) override;
  bool viewportEvent(QEvent* event) override;
  QMimeData* createMimeDataFromSelection() const override;
  bool canInsertFromMimeData(const QMimeData* source) const override;
  void insertFromMimeData(const QMimeData* source) override;

 private:
  bool showCapsuleTip(const QPoint& at, const QPoint& global);

  CapsuleTip capsuleTip_;
};

}  // namespace kolvane::qt
