// How Kolvane sees an app's interface: a tree of views, each of one of the kinds below. A
// toolkit adapter wraps its widgets in these (kolvane-qt does it for Qt Widgets); Kolvane's
// capture rules (which texts are found under a press, how a control takes its new text, what is
// redrawn) act only through them. Main thread only.
//
// A wrapper may outlive its widget: its calls must then do nothing and answer empty values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kolvane/attributed_text.h"
#include "kolvane/export.h"

namespace kolvane {

class KVHostLabel;

// A rectangle in screen coordinates.
struct KVRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

// A window drawn, as the toolkit holds it: 32-bit pixels 0xAARRGGBB (Qt's QRgb), read in
// place rather than copied.
struct KVWindowPixels {
  std::shared_ptr<const void> owner;  // keeps `rows` alive
  const std::uint32_t* rows = nullptr;
  std::size_t stride = 0;  // pixels from the start of a row to the start of the next
  int width = 0;           // in pixels, which may be more than the window's screen size (HiDPI)
  int height = 0;
};

// The room a label gives its text, measured with the label's font: what decides whether the
// text fits or is cut off.
struct KVTextBox {
  double width = 0;  // of the contents rectangle, margins and indent taken off
  double height = 0;
  double lineHeight = 0;
  // Lines wrap at word boundaries; a word wider than the box still overflows it.
  bool wordWrap = false;
  // The width a run of text takes with the label's font (cues take none).
  std::function<double(std::u16string_view)> advance;
  // The widest character of the font, when known: a line that fits even at this width per
  // character is not measured.
  double widestCharacter = 0;
};

class KOLVANE_EXPORT KVHostView {
 public:
  virtual ~KVHostView();
  virtual std::shared_ptr<KVHostView> superview() const = 0;
  virtual std::vector<std::shared_ptr<KVHostView>> subviews() const = 0;
  // For logs, e.g. "QLabel".
  virtual std::string className() const = 0;
  // Whether two wrappers stand for the same widget.
  virtual const void* identity() const = 0;
  // Lays the view out and draws it again after its text changed.
  virtual void setNeedsLayout() {}
  // How a list of the window's texts names this view in a text's place ("toolbar",
  // "File > Open"): the app's name for it when it has one, else its class; empty for a view
  // that says nothing to the reader (a plain container), which the place leaves out.
  virtual std::string pathName() const { return className(); }
  // Texts the view holds besides those of its subviews, which no press reaches: its tooltip,
  // status tip, what's-this text, a window's title, a group box's title, the items of a combo
  // box. Each is a label whose superview is this view.
  virtual std::vector<std::shared_ptr<KVHostLabel>> attachedTexts() const { return {}; }
  // Where the view is on the screen now; none while it is not shown (a hidden page, a closed
  // menu, a tooltip).
  virtual std::optional<KVRect> rectOnScreen() const { return std::nullopt; }
};

// A leaf that draws a text. Buttons, tabs, table headers and cells are reached through the
// labels inside them.
class KOLVANE_EXPORT KVHostLabel : public KVHostView {
 public:
  // None when the label shows nothing.
  virtual std::optional<KVAttributedText> attributedText() const = 0;
  virtual void setText(const std::u16string& text) = 0;
  virtual void setAttributedText(const KVAttributedText& text) = 0;
  // The text is data, not the app's wording: what the user typed in an editable field, or a
  // text the app marked as not for translation.
  virtual bool notForTranslation() const { return false; }
  // The room the text is drawn in, when it is drawn in a box of its own; none otherwise (a
  // tooltip, a menu item, rich text).
  virtual std::optional<KVTextBox> textBox() const { return std::nullopt; }
};

// The controls below keep a model of their text besides the label that draws it; Kolvane
// updates that model after the label was rewritten.

class KOLVANE_EXPORT KVHostButton : public KVHostView {
 public:
  // The text of the title label as drawn now.
  virtual std::optional<KVAttributedText> titleLabelText() const = 0;
  // The title of the normal state.
  virtual void setTitle(const std::u16string& title) = 0;
  virtual void setAttributedTitle(const KVAttributedText& title) = 0;
};

class KOLVANE_EXPORT KVHostSegmentedControl : public KVHostView {
 public:
  virtual std::size_t numberOfSegments() const = 0;
  virtual std::u16string titleForSegment(std::size_t index) const = 0;
  virtual void setTitleForSegment(std::size_t index, const std::u16string& title) = 0;
};

// The header of a table section.
class KOLVANE_EXPORT KVHostTableHeader : public KVHostView {
 public:
  virtual std::u16string textLabelText() const = 0;
  virtual void setTextLabelText(const std::u16string& text) = 0;
};

class KOLVANE_EXPORT KVHostTextField : public KVHostView {
 public:
  // The placeholder object itself: a new text is taken only by the very placeholder that was
  // shown, not by an equal text set since. Null when there is none.
  virtual const void* placeholderIdentity() const = 0;
  virtual void setPlaceholder(const std::u16string& placeholder) = 0;
};

class KOLVANE_EXPORT KVHostTextView : public KVHostView {
 public:
  virtual KVAttributedText attributedText() const = 0;
  virtual void setText(const std::u16string& text) = 0;
  virtual void setAttributedText(const KVAttributedText& text) = 0;
};

// A table or collection: its visible cells are labels.
class KOLVANE_EXPORT KVHostList : public KVHostView {
 public:
  virtual void reloadData() = 0;
};

// A top-level window. Its root controllers' views are every page it can show (all tabs, all
// pages of a stack), shown or not.
class KOLVANE_EXPORT KVHostWindow : public KVHostView {
 public:
  virtual std::vector<std::shared_ptr<KVHostView>> rootControllerViews() const = 0;
  // The window drawn as it is now, its client area only (no frame, no window over it); none
  // when it cannot be drawn (not shown).
  virtual std::optional<KVWindowPixels> picture() const { return std::nullopt; }
};

}  // namespace kolvane
