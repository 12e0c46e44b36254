// Captures of windows (kolvane/window_capture.h): taking one, keeping the latest on this
// device for the review of changes, and sending one to the translation server. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/window_inventory.h"
#include "kolvane/window_capture.h"

namespace kolvane {

// The capture of `window` as it is now; none when it cannot be drawn.
std::optional<KVWindowCapture> kv_captureWindow(const std::shared_ptr<KVHostWindow>& window);

// The regions of the texts of `entries` shown on screen and traced to strings, in a picture of
// `pictureWidth` x `pictureHeight` pixels of the window at `windowRect` on screen: clipped to
// the picture, those left with nothing dropped.
std::vector<KVCaptureRegion> kv_captureRegions(const std::vector<KVInventoryEntry>& entries,
                                               const KVRect& windowRect, int pictureWidth,
                                               int pictureHeight);

// The regions as the server takes them: a JSON array of {"keys", "text", "x", "y", "width",
// "height"}.
std::string kv_captureRegionsJson(const std::vector<KVCaptureRegion>& regions);

// Where a string was seen last: a capture holding it, and its place in the picture.
struct KVStringSighting {
  std::shared_ptr<const KVWindowCapture> capture;
  KVRect rect;
};

// Keeps `capture` as the newest; only the few newest are kept, in memory.
void kv_keepCapture(std::shared_ptr<const KVWindowCapture> capture);
// The newest kept capture showing `key`, or none.
std::optional<KVStringSighting> kv_lastSighting(const std::string& key);
void kv_forgetCaptures();

// Sends `capture` to the translation server when a reviewer is signed in and the server takes
// captures; `completion` says what became of it (on the main queue, or at once).
void kv_deliverCapture(const KVWindowCapture& capture,
                       std::function<void(KVCaptureDelivery)> completion);

// Takes the capture of `window`, keeps it and delivers it; `delivered` hears what became of
// it. None when there is no window to capture (`delivered` is not called then).
std::shared_ptr<const KVWindowCapture> kv_captureAndDeliver(
    const std::shared_ptr<KVHostWindow>& window, std::function<void(KVCaptureDelivery)> delivered);
// The same for the host's key window.
std::shared_ptr<const KVWindowCapture> kv_captureKeyWindow(
    std::function<void(KVCaptureDelivery)> delivered);

}  // namespace kolvane
