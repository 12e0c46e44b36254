// A scripted reviewer for the demo: signs in (playing the browser against the sign-on page),
// chooses French and the review step, gets the latest text, edits, accepts and rejects
// strings, reviews the changes as cards and sends them, all through real input events, and
// saves a screenshot of each screen.
#pragma once

#include <QString>

class InboxWindow;

struct WalkthroughOptions {
  QString folder;  // where the screenshots go
  // "" for the whole flow; "pull-fails" stops after the failed "Get Latest Text".
  QString scenario;
  // A fault for the dev server (its /_dev/faults body), switched on before the step the
  // scenario is about: the sending for the whole flow, "Get Latest Text" for "pull-fails".
  QString fault;
  QString server;  // the dev server's address, for the fault
};

void startWalkthrough(InboxWindow& window, const WalkthroughOptions& options);
