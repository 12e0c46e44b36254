// Qt widgets seen as Kolvane host views: QLabel is a label; a button's text, a tab, a header
// section's text, a visible cell of an item view, a line edit's placeholder and a text edit's
// text are labels inside the control that owns them; the top-level widget is the window, whose
// pages are all its children (every page of a stacked widget, shown or not). Main thread.
#pragma once

#include <QPoint>
#include <QString>
#include <memory>
#include <string>

#include "kolvane/attributed_text.h"
#include "kolvane/host_view.h"

class QWidget;

namespace kolvane::qt {

std::shared_ptr<KVHostView> wrapWidget(QWidget* widget);
// The deepest view under a point of the screen: a cell, a header section, a tab, or a widget.
// None over Kolvane's own windows or outside the app.
std::shared_ptr<KVHostView> hostViewAt(const QPoint& globalPosition);
// The window of a wrapped widget, or none.
std::shared_ptr<KVHostWindow> windowOf(QWidget* widget);

// Kolvane's own windows are never looked into.
void markAsKolvaneWindow(QWidget* window);
// Makes `overlay` (a new top-level widget) one of Kolvane's notes over the app: frameless, never
// active, and let through by the mouse (widgetAt finds what is under it), named `name`.
void makeOverlay(QWidget* overlay, const QString& name);
bool isKolvaneWindow(const QWidget* widget);

inline QString toQString(const std::u16string& text) { return QString::fromStdU16String(text); }
inline KVAttributedText plainText(const QString& text) {
  return KVAttributedText(text.toStdU16String());
}

}  // namespace kolvane::qt
