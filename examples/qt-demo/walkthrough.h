// A scripted reviewer for the demo: presses, types and saves through real input events, and
// saves a screenshot of each step.
#pragma once

#include <QString>

class InboxWindow;

void startWalkthrough(InboxWindow& window, const QString& folder);
