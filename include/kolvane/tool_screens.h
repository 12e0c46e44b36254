// The screens of the reviewer's tool that live in its popup window: the actions menu, the
// login, the language and workflow-step lists and the review of changes. Each is a model: its
// texts, states and commands. A toolkit adapter draws the screen the host is asked to show,
// forwards the reviewer's input to its commands and redraws when it reports a change; the
// navigation itself (push, pop, dismiss, alerts) is the host's (kolvane/tool.h). Main thread
// only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kolvane/export.h"
#include "kolvane/window_capture.h"
#include "kolvane/window_texts.h"

namespace kolvane {

// The loading indicator of a screen's title view.
enum class KVTitleLoading { idle, loading, succeeded, failed };

class KOLVANE_EXPORT KVToolScreen {
 public:
  virtual ~KVToolScreen();
  virtual std::u16string title() const = 0;
  // A button at the left of the title bar ("Cancel"), empty for the popup's own back or close
  // button; the adapter calls leftButtonTapped() for it.
  virtual std::u16string leftButtonTitle() const { return {}; }
  virtual void leftButtonTapped() {}
  // The adapter made the screen's view: the screen starts loading what it shows.
  virtual void viewDidLoad() {}
  KVTitleLoading titleLoading() const { return loading_; }
  // Called after every change of what the screen shows.
  void setChangeHandler(std::function<void()> handler) { changeHandler_ = std::move(handler); }

 protected:
  void changed() const;
  void showLoading();
  void hideLoadingWithSuccess(bool success);

 private:
  std::function<void()> changeHandler_;
  KVTitleLoading loading_ = KVTitleLoading::idle;
};

struct KVMenuRow {
  std::u16string title;
  std::u16string detail;
  bool enabled = true;      // false: greyed and not selectable
  bool disclosure = false;  // opens a list
  bool highlighted = false;
};

struct KVMenuSection {
  std::u16string header;
  std::vector<KVMenuRow> rows;
  std::u16string footer;
};

// The main menu: account, language and workflow step, the latest text, the changes to send.
class KOLVANE_EXPORT KVActionsMenu : public KVToolScreen {
 public:
  virtual std::vector<KVMenuSection> sections() const = 0;
  virtual void selectRow(std::size_t section, std::size_t row) = 0;
  // The text under the menu: the app's and the SDK's versions and the project.
  virtual std::u16string versionText() const = 0;
  // "Close": closes the popup.
  virtual void close() = 0;
};

// What a login needs of the adapter: where the sign-on page sends the reviewer back (a
// loopback address the adapter listens on, "http://127.0.0.1:PORT/"), and the PKCE pair
// (RFC 7636, S256) that binds the code to this app.
struct KVSignOnChannel {
  std::string redirectPrefix;
  std::string codeChallenge;
  std::string codeVerifier;
};

// The channel of a loopback listener on `port`: its redirect, and a fresh PKCE pair (a verifier
// of 32 bytes of the system's generator, its SHA-256 as the challenge, both base64url). Without
// a random source the pair is empty.
KOLVANE_EXPORT KVSignOnChannel kv_loopbackSignOnChannel(std::uint16_t port);

// One connection to the loopback listener: the bytes of a browser's request, read until its
// headers are complete. Each connection has its own, made when it opens and dropped when it
// closes, so that nothing of one connection reaches another.
//
//   KVLoopbackRequest request;
//   if (request.append(bytes) == KVLoopbackRequest::State::complete) use(request.target());
class KOLVANE_EXPORT KVLoopbackRequest {
 public:
  // A request line and headers beyond this are not a browser's redirect.
  static constexpr std::size_t kMaxBytes = 16 * 1024;
  enum class State { reading, complete, refused };

  // Takes the next bytes; once complete or refused, later bytes change nothing.
  State append(std::string_view bytes);
  State state() const { return state_; }
  // The request target of a complete GET ("/login/?code=..."); empty before.
  const std::string& target() const { return target_; }

 private:
  void readRequestLine();

  std::string bytes_;
  std::string target_;
  State state_ = State::reading;
};

// What the login screen made of a request that reached the loopback.
enum class KVRedirectOutcome {
  notARedirect,  // not the sign-on redirect: the screen has nothing to do with it
  accepted,      // the one redirect of this sign-in: its code is being exchanged
  refused,       // a redirect the screen did not ask for, or one too many: nothing changed
};

// The login: the sign-on page opens in the system browser; the adapter hands every URL the
// loopback receives to receiveRedirect() and answers the browser by its outcome.
class KOLVANE_EXPORT KVLoginScreen : public KVToolScreen {
 public:
  // The adapter is listening on the channel's redirect: opens the sign-on page.
  virtual void loadView(const KVSignOnChannel& channel) = 0;
  // A navigation to `url`: false when it was the sign-on redirect, taken or refused.
  virtual bool shouldLoadUrl(const std::string& url) = 0;
  // A request that reached the loopback. Only a redirect carrying the state this screen's
  // sign-on page was opened with is taken, and only the first.
  virtual KVRedirectOutcome receiveRedirect(const std::string& url) = 0;
  // What the screen tells the reviewer while the page is open in the browser, or that no
  // browser could be opened.
  virtual std::u16string message() const = 0;
  // The sign-on page's address, for the reviewer to open or copy by hand.
  virtual std::string signOnAddress() const = 0;
  // Opens the sign-on page again (the reviewer closed the browser, or none opened).
  virtual void openSignOnPageAgain() = 0;
};

// A list to choose from: the languages, or the workflow steps.
class KOLVANE_EXPORT KVChoiceScreen : public KVToolScreen {
 public:
  struct Section {
    std::u16string header;
    std::vector<std::u16string> items;
    std::optional<std::size_t> chosen;  // the item that is the current choice, if any
  };
  // Built in one pass over the choices, however many there are.
  virtual std::vector<Section> choiceSections() const = 0;
  virtual void choose(std::size_t section, std::size_t item) = 0;
};

// One change to send: the reviewer's text beside the server's current one.
struct KVReviewCard {
  std::string key;
  std::u16string myText;
  std::u16string myStatus;
  unsigned myStatusCode = 0;    // what myStatus says, for its colour: 2 accepted, 3 rejected
  std::u16string rejectReason;  // why a rejected string was rejected, as the reviewer said
  std::u16string currentText;   // "No translation" when the server has none
  std::u16string currentStatus;
  // Where the string was seen: the newest capture of a window showing it, and its place in
  // that capture's picture; null when no window showing it was captured.
  std::shared_ptr<const KVWindowCapture> capture;
  KVRect captureRect;
};

inline constexpr char16_t kKVReviewKeyPrefix[] = u"Key: ";
inline constexpr char16_t kKVReviewMyChangesTitle[] = u"MY CHANGES";
inline constexpr char16_t kKVReviewCurrentTitle[] = u"CURRENT TRANSLATION";
// How a card leaves the stack (seconds, radians) and how the others move up.
inline constexpr double kKVCardThrowDuration = 0.5;
inline constexpr double kKVCardThrowAngle = 0.39269908169872414;  // pi / 8
inline constexpr double kKVCardMoveUpDuration = 0.3;

// The review of changes: a stack of cards, each kept or discarded; once the last is dealt
// with, what was kept is sent.
class KOLVANE_EXPORT KVReviewScreen : public KVToolScreen {
 public:
  enum class Throw { none, discarded, kept };
  // The cards still to deal with, the top one first.
  virtual std::vector<KVReviewCard> cards() const = 0;
  // Loading the server's text or sending: a spinner.
  virtual bool isBusy() const = 0;
  // What the screen is doing while busy ("Sending 3 changes…"); empty otherwise.
  virtual std::u16string busyText() const = 0;
  // Where the reviewer is in the stack ("2 of 5"); empty when no card is left.
  virtual std::u16string counterText() const = 0;
  // The top card is being thrown off: the adapter animates it, then calls cardWasThrown().
  virtual Throw pendingThrow() const = 0;
  virtual void discard() = 0;
  virtual void keep() = 0;
  virtual void cardWasThrown() = 0;
  virtual std::u16string discardTitle() const = 0;
  virtual std::u16string keepTitle() const = 0;
};

// The list of every text of the app's window (kolvane/window_texts.h), drawn by the adapter in
// a window of its own beside the app's.
class KOLVANE_EXPORT KVWindowTextsScreen : public KVToolScreen {
 public:
  // The rows the filter lets through, in the window's order.
  virtual std::vector<KVWindowTextRow> rows() const = 0;
  virtual KVWindowTextFilter filter() const = 0;
  virtual void setFilter(const KVWindowTextFilter& filter) = 0;
  // "37 texts, 2 not translatable, 1 cut off": all texts, whatever the filter.
  virtual std::u16string summary() const = 0;
  // Opens the edition screen for the strings of row `row` (as a long press on the text would)
  // and shows where the text is when it is on screen. A row without strings shows its place
  // only.
  virtual void selectRow(std::size_t row) = 0;
  // Takes the window's texts again (after an edit, a change of language, a new page).
  virtual void reload() = 0;
};

}  // namespace kolvane
