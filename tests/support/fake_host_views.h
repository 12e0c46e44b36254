// Host views made of plain objects, to drive the capture rules without a toolkit. Each keeps
// a record of what Kolvane did to it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kolvane/host_view.h"
#include "kolvane/tool.h"
#include "kolvane/tool_screens.h"

namespace kolvane::testing {

template <class Interface>
class FakeNode : public Interface {
 public:
  explicit FakeNode(std::string name) : name_(std::move(name)) {}
  std::shared_ptr<KVHostView> superview() const override { return parent.lock(); }
  std::vector<std::shared_ptr<KVHostView>> subviews() const override { return children; }
  std::string className() const override { return name_; }
  const void* identity() const override { return this; }
  void setNeedsLayout() override { ++layouts; }
  std::string pathName() const override { return appName.empty() ? name_ : appName; }
  std::vector<std::shared_ptr<KVHostLabel>> attachedTexts() const override { return attached; }
  std::optional<KVRect> rectOnScreen() const override { return rect; }

  std::weak_ptr<KVHostView> parent;
  std::vector<std::shared_ptr<KVHostView>> children;
  std::vector<std::shared_ptr<KVHostLabel>> attached;  // tooltips, titles
  std::string appName;                                 // the app's name for the view
  std::optional<KVRect> rect;                          // none: not on screen
  int layouts = 0;

 private:
  std::string name_;
};

// Puts `child` under `parent` and answers it.
template <class Parent, class Child>
std::shared_ptr<Child> attach(const std::shared_ptr<Parent>& parent, std::shared_ptr<Child> child) {
  child->parent = parent;
  parent->children.push_back(child);
  return child;
}

class FakeLabel : public FakeNode<KVHostLabel> {
 public:
  FakeLabel() : FakeNode("Label") {}
  std::optional<KVAttributedText> attributedText() const override { return text; }
  void setText(const std::u16string& plain) override {
    text = KVAttributedText(plain);
    ++updates;
  }
  void setAttributedText(const KVAttributedText& attributed) override {
    text = attributed;
    ++updates;
  }
  bool notForTranslation() const override { return data; }
  std::optional<KVTextBox> textBox() const override { return box; }
  std::optional<KVAttributedText> text;
  int updates = 0;
  bool data = false;  // the user's text, or marked as not for translation
  std::optional<KVTextBox> box;
};

class FakeContainer : public FakeNode<KVHostView> {
 public:
  explicit FakeContainer(std::string name = "View") : FakeNode(std::move(name)) {}
};

// The first label under `view`, as buttons and headers keep theirs.
class FakeLabel;
FakeLabel* firstLabel(const KVHostView& view);

class FakeButton : public FakeNode<KVHostButton> {
 public:
  FakeButton() : FakeNode("Button") {}
  std::optional<KVAttributedText> titleLabelText() const override;
  void setTitle(const std::u16string& text) override { title = text; }
  void setAttributedTitle(const KVAttributedText& text) override { attributedTitle = text; }
  std::optional<std::u16string> title;
  std::optional<KVAttributedText> attributedTitle;
};

class FakeSegments : public FakeNode<KVHostSegmentedControl> {
 public:
  FakeSegments() : FakeNode("SegmentedControl") {}
  std::size_t numberOfSegments() const override { return titles.size(); }
  std::u16string titleForSegment(std::size_t index) const override { return titles.at(index); }
  void setTitleForSegment(std::size_t index, const std::u16string& title) override {
    titles.at(index) = title;
  }
  std::vector<std::u16string> titles;
};

class FakeHeader : public FakeNode<KVHostTableHeader> {
 public:
  FakeHeader() : FakeNode("TableHeader") {}
  std::u16string textLabelText() const override;
  void setTextLabelText(const std::u16string& text) override;
};

class FakeTextField : public FakeNode<KVHostTextField> {
 public:
  FakeTextField() : FakeNode("TextField") {}
  const void* placeholderIdentity() const override { return placeholder.get(); }
  void setPlaceholder(const std::u16string& text) override {
    placeholder = std::make_shared<std::u16string>(text);
  }
  std::shared_ptr<std::u16string> placeholder;
};

class FakeTextView : public FakeNode<KVHostTextView> {
 public:
  FakeTextView() : FakeNode("TextView") {}
  KVAttributedText attributedText() const override { return text; }
  void setText(const std::u16string& plain) override { text = KVAttributedText(plain); }
  void setAttributedText(const KVAttributedText& attributed) override { text = attributed; }
  KVAttributedText text;
};

class FakeList : public FakeNode<KVHostList> {
 public:
  FakeList() : FakeNode("List") {}
  void reloadData() override { ++reloads; }
  int reloads = 0;
};

class FakeWindow : public FakeNode<KVHostWindow> {
 public:
  FakeWindow() : FakeNode("Window") {}
  std::vector<std::shared_ptr<KVHostView>> rootControllerViews() const override { return pages; }
  std::optional<KVWindowPixels> picture() const override { return image; }
  std::vector<std::shared_ptr<KVHostView>> pages;
  std::optional<KVWindowPixels> image;  // none: it cannot be drawn
};

// A text attached to `owner` (a tooltip, a title) showing `text` (cues included).
template <class Owner>
std::shared_ptr<FakeLabel> attachText(const std::shared_ptr<Owner>& owner, std::string name,
                                      const std::u16string& text) {
  auto label = std::make_shared<FakeLabel>();
  label->parent = owner;
  label->appName = std::move(name);
  label->text = KVAttributedText(text);
  owner->attached.push_back(label);
  return label;
}

// A label under `parent` showing `text` (cues included).
template <class Parent>
std::shared_ptr<FakeLabel> addLabel(const std::shared_ptr<Parent>& parent,
                                    const std::u16string& text) {
  auto label = attach(parent, std::make_shared<FakeLabel>());
  label->text = KVAttributedText(text);
  return label;
}

inline FakeLabel* firstLabel(const KVHostView& view) {
  for (const auto& child : view.subviews()) {
    if (auto* label = dynamic_cast<FakeLabel*>(child.get())) return label;
  }
  return nullptr;
}

inline std::optional<KVAttributedText> FakeButton::titleLabelText() const {
  const FakeLabel* label = firstLabel(*this);
  return label ? label->text : std::nullopt;
}

inline std::u16string FakeHeader::textLabelText() const {
  const FakeLabel* label = firstLabel(*this);
  return label && label->text ? label->text->string() : std::u16string();
}

inline void FakeHeader::setTextLabelText(const std::u16string& text) {
  if (FakeLabel* label = firstLabel(*this)) label->text = KVAttributedText(text);
}

// A tool host that records what it was asked.
class FakeToolHost : public KVToolHost {
 public:
  std::shared_ptr<KVHostWindow> keyWindow() const override { return window; }
  void presentEditionScreen(const std::shared_ptr<KVEditionScreen>& screen,
                            const std::shared_ptr<KVHostView>& anchor) override {
    presented = screen;
    presentedAnchor = anchor;
  }
  void dismissEditionScreens(bool animated) override { dismissals.push_back(animated); }
  void askRejectReason(const std::shared_ptr<KVEditionScreen>& screen) override {
    rejectAsked = screen;
  }
  void cancelEditionPress() override { ++cancelledPresses; }
  void presentToolScreen(const std::shared_ptr<KVToolScreen>& screen) override {
    screens = {screen};
    screen->viewDidLoad();
  }
  void pushToolScreen(const std::shared_ptr<KVToolScreen>& screen) override {
    screens.push_back(screen);
    screen->viewDidLoad();
  }
  void popToolScreen() override {
    if (!screens.empty()) screens.pop_back();
  }
  void popToToolScreen(const KVToolScreen& screen) override {
    while (!screens.empty() && screens.back().get() != &screen) screens.pop_back();
  }
  void dismissToolScreens(std::function<void()> completion) override {
    screens.clear();
    if (completion) completion();
  }
  void showAlert(const KVAlert& alert, std::function<void(std::size_t)> answer) override {
    alerts.push_back(alert);
    alertAnswer = std::move(answer);
  }
  // Presses button `index` of the last alert.
  void answerAlert(std::size_t index) {
    if (auto answer = std::exchange(alertAnswer, {})) answer(index);
  }
  bool openSignOnPage(const std::string& url) override {
    signOnPages.push_back(url);
    return browserOpens;
  }
  bool browserOpens = true;
  void removeEditionGesture() override { editionGestureRemoved = true; }
  void setupEditionGesture() override { editionGestureRemoved = false; }
  void stringsDidChange() override { ++stringChanges; }
  void presentWindowTexts(const std::shared_ptr<KVWindowTextsScreen>& screen) override {
    windowTexts = screen;
  }
  void flashPlace(const KVRect& rect) override { flashed.push_back(rect); }
  void setRightToLeft(bool on) override { rightToLeft = on; }
  template <typename Screen>
  std::shared_ptr<Screen> top() const {
    return screens.empty() ? nullptr : std::dynamic_pointer_cast<Screen>(screens.back());
  }

  std::shared_ptr<KVHostWindow> window;
  std::shared_ptr<KVEditionScreen> presented;
  std::shared_ptr<KVHostView> presentedAnchor;
  std::vector<bool> dismissals;
  std::shared_ptr<KVEditionScreen> rejectAsked;
  int cancelledPresses = 0;
  std::vector<std::shared_ptr<KVToolScreen>> screens;  // the popup's, the top one last
  std::vector<KVAlert> alerts;
  std::function<void(std::size_t)> alertAnswer;
  std::vector<std::string> signOnPages;
  bool editionGestureRemoved = false;
  int stringChanges = 0;
  std::shared_ptr<KVWindowTextsScreen> windowTexts;
  std::vector<KVRect> flashed;
  bool rightToLeft = false;
};

}  // namespace kolvane::testing
