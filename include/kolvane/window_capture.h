// A capture of a window: its picture and, for every traced text visible in it, the strings the
// text was built from and where it is in the picture. Sent to the translation server with a
// reviewer signed in, so that a translator sees where each string is used; the review of
// changes shows it beside each change. kolvane/tool.h takes one (KolvaneTool::captureWindow).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "kolvane/host_view.h"

namespace kolvane {

// A window's picture, as PNG.
struct KVWindowImage {
  std::string png;
  int width = 0;  // in pixels
  int height = 0;
};

// One traced text in the picture.
struct KVCaptureRegion {
  std::u16string text;            // as shown, without cues
  std::vector<std::string> keys;  // its strings, the outermost first, nested ones after
  KVRect rect;                    // in the picture's pixels, within it
};

struct KVWindowCapture {
  KVWindowImage image;
  std::vector<KVCaptureRegion> regions;  // in the window's order
};

// What became of a capture taken for sending.
struct KVCaptureDelivery {
  enum class Outcome {
    sent,           // the server keeps it, attached to its strings
    notSignedIn,    // kept on this device only: nobody is signed in
    notTakenThere,  // kept on this device only: the server does not take captures
    // Kept on this device only: it holds nothing for translators (no language is shown, or no
    // string), or it would mislead them (pseudo-translation or right to left is on).
    notForTranslators,
    failed,  // kept on this device only: the server could not be reached, or refused
  };
  Outcome outcome = Outcome::failed;
  // The strings the server attached it to (those it knows).
  std::size_t attachedStrings = 0;
  // Why it was not sent, for the reviewer; empty when it was.
  std::u16string reason;
};

}  // namespace kolvane
