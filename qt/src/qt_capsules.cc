#include "qt_capsules.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetricsF>
#include <QHelpEvent>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QTextObjectInterface>
#include <QToolTip>

#include "kolvane/edition_screen.h"

namespace kolvane::qt {
namespace {

constexpr int kCapsuleType = QTextFormat::UserObject + 1;
constexpr int kFormatProperty = QTextFormat::UserProperty + 1;
constexpr int kLabelProperty = QTextFormat::UserProperty + 2;
constexpr int kColorProperty = QTextFormat::UserProperty + 3;

QColor capsuleColor(const std::string& name) {
  return name == "grey" ? QColor(142, 142, 147) : QColor(QString::fromStdString(name));
}

QString value(const KVTextAttributes& attributes, const char* name, const char* fallback = "") {
  const auto found = attributes.find(name);
  return QString::fromStdString(found != attributes.end() ? found->second : fallback);
}

class CapsuleDrawer : public QObject, public QTextObjectInterface {
  Q_OBJECT
  Q_INTERFACES(QTextObjectInterface)

 public:
  using QObject::QObject;
  QSizeF intrinsicSize(QTextDocument*, int, const QTextFormat& format) override {
    const QFontMetricsF metrics(format.toCharFormat().font());
    const QString label = format.property(kLabelProperty).toString();
    return {metrics.horizontalAdvance(label) + metrics.height(), metrics.height() * 1.1};
  }
  void drawObject(QPainter* painter, const QRectF& rect, QTextDocument*, int,
                  const QTextFormat& format) override {
    const QColor color = format.property(kColorProperty).value<QColor>();
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    const QRectF pill = rect.adjusted(1, 1, -1, -1);
    path.addRoundedRect(pill, pill.height() / 2, pill.height() / 2);
    painter->fillPath(path, color);
    painter->setPen(Qt::white);
    painter->setFont(format.toCharFormat().font());
    painter->drawText(pill, Qt::AlignCenter, format.property(kLabelProperty).toString());
    painter->restore();
  }
};

QTextCharFormat textFormat(const KVTextAttributes& attributes) {
  QTextCharFormat format;
  bool sized = false;
  const double size = value(attributes, kKVFontSize).toDouble(&sized);
  if (sized && size > 0) format.setFontPointSize(size);
  return format;
}

QTextCharFormat capsuleFormat(const KVTextAttributes& attributes) {
  QTextCharFormat format = textFormat(attributes);
  format.setObjectType(kCapsuleType);
  format.setVerticalAlignment(QTextCharFormat::AlignMiddle);
  format.setProperty(kFormatProperty, value(attributes, kKVCapsuleFormat));
  format.setProperty(kLabelProperty, value(attributes, kKVCapsuleText, "Variable"));
  format.setProperty(kColorProperty,
                     capsuleColor(value(attributes, kKVCapsuleColor, "grey").toStdString()));
  return format;
}

QString runText(const KVAttributedText& text, KVRange run) {
  return QString::fromStdU16String(text.string().substr(run.location, run.length));
}

void insertAttributed(QTextCursor& cursor, const KVAttributedText& text) {
  text.enumerateRuns([&](KVRange run, const KVTextAttributes& attributes) {
    if (attributes.count(kKVCapsuleFormat) != 0) {
      for (std::size_t i = 0; i < run.length; ++i) {
        cursor.insertText(QString(QChar(kKVCapsuleCharacter)), capsuleFormat(attributes));
      }
    } else {
      cursor.insertText(runText(text, run), textFormat(attributes));
    }
  });
}

KVAttributedText attributedFragment(const QTextDocument* document, int from, int to) {
  KVAttributedText text;
  bool firstBlock = true;
  for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
    if (block.position() + block.length() <= from || block.position() > to) continue;
    if (!firstBlock) text.append(u"\n", {});
    firstBlock = false;
    for (auto it = block.begin(); !it.atEnd(); ++it) {
      const QTextFragment fragment = it.fragment();
      const int start = std::max(fragment.position(), from);
      const int end = std::min(fragment.position() + fragment.length(), to);
      if (end <= start) continue;
      const QString part = fragment.text().mid(start - fragment.position(), end - start);
      const QTextCharFormat format = fragment.charFormat();
      if (format.objectType() == kCapsuleType) {
        const std::string placeholder = format.property(kFormatProperty).toString().toStdString();
        for (qsizetype i = 0; i < part.size(); ++i) {
          text.append(std::u16string(1, kKVCapsuleCharacter), {{kKVCapsuleFormat, placeholder}});
        }
      } else {
        text.append(part.toStdU16String(), {});
      }
    }
  }
  return text;
}

QByteArray serialized(const KVAttributedText& text) {
  QJsonArray runs;
  text.enumerateRuns([&](KVRange run, const KVTextAttributes& attributes) {
    QJsonObject entry{{"text", runText(text, run)}};
    if (const auto capsule = attributes.find(kKVCapsuleFormat); capsule != attributes.end()) {
      entry["capsule"] = QString::fromStdString(capsule->second);
    }
    runs.append(entry);
  });
  return QJsonDocument(runs).toJson(QJsonDocument::Compact);
}

KVAttributedText deserialized(const QByteArray& bytes) {
  KVAttributedText text;
  for (const QJsonValue& entry : QJsonDocument::fromJson(bytes).array()) {
    const QJsonObject run = entry.toObject();
    KVTextAttributes attributes;
    if (run.contains("capsule")) {
      attributes =
          kv_capsuleAttributes(run["capsule"].toString().toStdString(), kKVFieldCapsuleSize, true);
    }
    text.append(run["text"].toString().toStdU16String(), attributes);
  }
  return text;
}

}  // namespace

void registerCapsules(QTextDocument* document) {
  document->documentLayout()->registerHandler(kCapsuleType, new CapsuleDrawer(document));
}

void setAttributedText(QTextDocument* document, const KVAttributedText& text) {
  document->clear();
  QTextCursor cursor(document);
  insertAttributed(cursor, text);
  document->clearUndoRedoStacks();
}

KVAttributedText attributedText(const QTextDocument* document) {
  return attributedFragment(document, 0, document->characterCount());
}

CapsuleTextEdit::CapsuleTextEdit(QWidget* parent) : QTextEdit(parent) {
  registerCapsules(document());
  // Tab moves on to the buttons, as everywhere else in a dialog; Ctrl+Tab types a tab.
  setTabChangesFocus(true);
}

bool CapsuleTextEdit::showCapsuleTip(const QPoint& at, const QPoint& global) {
  if (!capsuleTip_) return false;
  // The character exactly under the pointer, in the document's coordinates.
  const QPointF inDocument(at.x() + horizontalScrollBar()->value(),
                           at.y() + verticalScrollBar()->value());
  const int position = document()->documentLayout()->hitTest(inDocument, Qt::ExactHit);
  if (position < 0) return false;
  std::size_t rank = 0;
  for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
    for (auto it = block.begin(); !it.atEnd(); ++it) {
      const QTextFragment fragment = it.fragment();
      if (fragment.charFormat().objectType() != kCapsuleType) continue;
      if (position < fragment.position() || position >= fragment.position() + fragment.length()) {
        rank += static_cast<std::size_t>(fragment.length());
        continue;
      }
      rank += static_cast<std::size_t>(position - fragment.position());
      const QString tip =
          capsuleTip_(fragment.charFormat().property(kFormatProperty).toString(), rank);
      // The app's values are shown as they are, never as markup.
      QToolTip::showText(global, Qt::convertFromPlainText(tip), viewport());
      return true;
    }
  }
  return false;
}

bool CapsuleTextEdit::viewportEvent(QEvent* event) {
  // Tooltips come to the viewport, not to the editor.
  if (event->type() == QEvent::ToolTip) {
    const auto* help = static_cast<QHelpEvent*>(event);
    if (!showCapsuleTip(help->pos(), help->globalPos())) QToolTip::hideText();
    return true;
  }
  return QTextEdit::viewportEvent(event);
}

bool CapsuleTextEdit::event(QEvent* event) {
  if (event->type() == QEvent::KeyPress && !isReadOnly()) {
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_Tab && key->modifiers() == Qt::ControlModifier) {
      textCursor().insertText(QStringLiteral("\t"));
      return true;
    }
  }
  return QTextEdit::event(event);
}

QMimeData* CapsuleTextEdit::createMimeDataFromSelection() const {
  const QTextCursor cursor = textCursor();
  const KVAttributedText selected =
      attributedFragment(document(), cursor.selectionStart(), cursor.selectionEnd());
  auto* mime = new QMimeData;
  mime->setData(kMimeType, serialized(selected));
  // Elsewhere a capsule is its placeholder.
  QString plain;
  selected.enumerateRuns([&](KVRange run, const KVTextAttributes& attributes) {
    const auto capsule = attributes.find(kKVCapsuleFormat);
    plain +=
        capsule != attributes.end()
            ? QString::fromStdString(capsule->second).repeated(static_cast<qsizetype>(run.length))
            : runText(selected, run);
  });
  mime->setText(plain);
  return mime;
}

bool CapsuleTextEdit::canInsertFromMimeData(const QMimeData* source) const {
  return source->hasFormat(kMimeType) || source->hasText();
}

void CapsuleTextEdit::insertFromMimeData(const QMimeData* source) {
  QTextCursor cursor = textCursor();
  if (source->hasFormat(kMimeType)) {
    insertAttributed(cursor, deserialized(source->data(kMimeType)));
  } else if (source->hasText()) {
    cursor.insertText(source->text(), QTextCharFormat());
  }
  setTextCursor(cursor);
}

}  // namespace kolvane::qt

#include "qt_capsules.moc"
