// What a toolkit adapter gives the reviewer's tool: the windows, the screens it shows and the
// gestures it recognises. kolvane/tool.h installs one. Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "kolvane/edition_screen.h"
#include "kolvane/export.h"
#include "kolvane/host_view.h"

namespace kolvane {

// What a long press on a text with nothing to translate shows at the pointer.
inline constexpr char16_t kKVNoTranslatableTextHint[] = u"No translatable text here";

class KVToolScreen;         // kolvane/tool_screens.h
class KVWindowTextsScreen;  // kolvane/window_texts.h

// What the toolkit gives the tool.
class KOLVANE_EXPORT KVToolHost {
 public:
  virtual ~KVToolHost();
  // The window the app is using, or none.
  virtual std::shared_ptr<KVHostWindow> keyWindow() const = 0;
  // Shows `screen` over the window of `anchor`, the view whose strings it edits.
  virtual void presentEditionScreen(const std::shared_ptr<KVEditionScreen>& screen,
                                    const std::shared_ptr<KVHostView>& anchor) = 0;
  // Closes every edition screen; `animated` false for a close before another screen opens.
  virtual void dismissEditionScreens(bool animated) = 0;
  // Asks the reviewer why the current string of `screen` is rejected; the answer comes back
  // through screen->rejectReasonWasGiven() (a KVRejectReasonForm does that).
  virtual void askRejectReason(const std::shared_ptr<KVEditionScreen>& screen) = 0;
  // Cancels a press for editing that is under way.
  virtual void cancelEditionPress() = 0;
  // The popup window of the tool's screens (kolvane/tool_screens.h). Opens it showing
  // `screen`, closing one already open.
  virtual void presentToolScreen(const std::shared_ptr<KVToolScreen>& screen) = 0;
  // Shows `screen` over the popup's current one, with a way back to it.
  virtual void pushToolScreen(const std::shared_ptr<KVToolScreen>& screen) = 0;
  // Back to the screen under the top one.
  virtual void popToolScreen() = 0;
  // Back to `screen`, closing the ones above it.
  virtual void popToToolScreen(const KVToolScreen& screen) = 0;
  // Closes the popup window; `completion` runs once it is gone (at once when none is open).
  virtual void dismissToolScreens(std::function<void()> completion) = 0;
  // Shows `alert` over the popup (or the app); `answer` gets the index of the button pressed,
  // 0 for the cancel button.
  virtual void showAlert(const KVAlert& alert, std::function<void(std::size_t button)> answer) = 0;
  // Opens the sign-on page outside the app, in the system browser; false when no browser
  // could be opened.
  virtual bool openSignOnPage(const std::string& url) = 0;
  // After a logout a press no longer starts editing, until a reviewer signs in again.
  virtual void removeEditionGesture() = 0;
  // A reviewer signed in: a press starts editing again.
  virtual void setupEditionGesture() = 0;
  // Saved or reloaded strings changed what the app shows: the adapter tells the app's own
  // widgets (Qt: a LanguageChange event).
  virtual void stringsDidChange() = 0;
  // Shows the list of a window's texts in a window of its own, beside the app's (one at a
  // time: a second replaces the first). Adapters without one show nothing.
  virtual void presentWindowTexts(const std::shared_ptr<KVWindowTextsScreen>& screen) {
    (void)screen;
  }
  // Draws attention to `rect` (screen coordinates) for a moment: where a listed text is.
  virtual void flashPlace(const KVRect& rect) { (void)rect; }
  // Lays the app out right to left (on), or back as it was (off).
  virtual void setRightToLeft(bool on) { (void)on; }
};

}  // namespace kolvane
