// The views of the tool's screens in the popup window: the menu, the login (with the
// loopback the sign-on page returns to), the lists to choose from and the review's card
// stack. Each draws its model and forwards the reviewer's input to it. Main thread.
#pragma once

#include <QWidget>
#include <functional>
#include <memory>

#include "kolvane/tool_screens.h"

class QUrl;

namespace kolvane::qt {

// The view for `screen`, or an empty one for a screen the adapter does not know.
QWidget* makeScreenView(const std::shared_ptr<KVToolScreen>& screen, QWidget* parent);
// Redraws a view made by makeScreenView from its model.
void refreshScreenView(QWidget* view);

// Opens the sign-on page; the system browser unless replaced (KolvaneQt::setSignOnPageOpener).
bool openSignOnPage(const QUrl& url);
void setSignOnPageOpener(std::function<void(const QUrl&)> opener);

// How long the review's cards take to move, as a share of their set durations (0 in tests:
// at once).
void setCardAnimationScale(double scale);

}  // namespace kolvane::qt
