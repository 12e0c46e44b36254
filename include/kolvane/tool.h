// The in-app reviewer's tool, as a toolkit adapter drives it: the adapter recognises the
// gestures, wraps the widget that was pressed, and shows the screens Kolvane asks for through
// the host it installs (kolvane/tool_host.h). Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kolvane/edition_screen.h"
#include "kolvane/export.h"
#include "kolvane/host_view.h"
#include "kolvane/tool_host.h"
#include "kolvane/window_capture.h"

namespace kolvane {

class KOLVANE_EXPORT KolvaneTool {
 public:
  // Installs the adapter's host (null removes it).
  static void setHost(std::shared_ptr<KVToolHost> host);
  // Whether a press opens the edition screen: a reviewer is signed in and a step is chosen.
  static bool editionEnabled();
  // A press for editing was recognised with `touches` fingers on `touchedView` (the deepest
  // view under the finger). Opens the edition screen for the strings found in it, or in the
  // nearest ancestor holding some; answers it, or none when nothing was found.
  static std::shared_ptr<KVEditionScreen> triggerEdition(
      const std::shared_ptr<KVHostView>& touchedView, unsigned touches = 1);
  // The menu gesture was recognised: shows the actions menu, or the login first when nobody is
  // signed in.
  static void triggerActions();
  // Ctrl+Alt+J: the list of the key window's texts (kolvane/window_texts.h), signed in or not.
  static void triggerWindowTexts();
  // A capture of the key window (kolvane/window_capture.h): its picture, and the strings and
  // place of every traced text shown in it. It is kept on this device for the review of
  // changes and, with a reviewer signed in, sent to the translation server when that takes
  // captures; `delivered` hears what became of it. None when there is no window to capture.
  // The menu's "Capture this window" takes one too.
  static std::optional<KVWindowCapture> captureWindow(
      std::function<void(KVCaptureDelivery)> delivered = {});
  // The same for `window`, one of the app's windows an adapter wrapped.
  static std::optional<KVWindowCapture> captureWindow(
      const std::shared_ptr<KVHostWindow>& window,
      std::function<void(KVCaptureDelivery)> delivered = {});

  // Pseudo-translation, for checking an app without a translation: while it is on, every
  // answer of the lookup is shown accented, about 40% longer and in brackets, its placeholders
  // as they were ("Open %1" shows "[Ȯṗȩṅ %1 ~~~]"), so that a text left out of the lookup (no
  // brackets) or one that will not fit stands out. Switching it has the app look its texts up
  // again; no store changes. The menu and the list of the window's texts switch it.
  static void setPseudoTranslation(bool on);
  // Any thread.
  static bool pseudoTranslation();
  // A lookup's answer (cues included) as the app should show it now: pseudo-translated while
  // that is on, else unchanged. An adapter's lookup hook passes every answer through it. Any
  // thread.
  static std::u16string shownAnswer(std::u16string answer);
  // The app laid out right to left, to check its mirroring without a right-to-left language,
  // and back.
  static void setRightToLeft(bool on);
  static bool rightToLeft();
  // Indexes the development locale's texts of interface-file keys (keys holding "." and "-"),
  // which textForDesignTimeText() reads. Call again after the strings were reloaded.
  static void indexDesignTimeTexts();
  // The text a control built from an interface file should show in place of `designTimeText`:
  // the app's string whose base text that is, looked up by its key; none when it is not one.
  // A label passes its description, for the debug log.
  static std::optional<std::u16string> textForDesignTimeText(
      const std::u16string& designTimeText, std::string_view labelDescription = {});
};

}  // namespace kolvane
