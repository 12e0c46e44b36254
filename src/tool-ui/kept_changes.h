// What a logout keeps for the reviewer who comes back. The unsent changes stay on the device
// with the language the app shows, and the workflow step comes back at the same reviewer's
// next sign-in, so that a press edits again and the changes can be sent. Another reviewer
// signing in meanwhile gets no step back, so the changes are never sent under that account:
// they stay on the device until their owner returns, or until a step is chosen or the latest
// text fetched (both ask first, then throw them away). Main thread.
#pragma once

#include <cstddef>

namespace kolvane {

class KVKeptChanges {
 public:
  // Logs the session out keeping the shown language and the `unsent` changes, and notes the
  // signed-in reviewer and their step (unless changes are kept for another reviewer).
  static void logOut(std::size_t unsent);
  // A reviewer signed in: a press edits again, and the noted step comes back when the note is
  // this reviewer's.
  static void reviewerDidSignIn();
  // Another step was chosen, and the unsent changes thrown away: nothing is handed back.
  static void forget();
};

}  // namespace kolvane
