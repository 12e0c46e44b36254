#include "capture/control_text.h"

#include "kolvane/platform.h"

namespace kolvane {

bool kv_keepsItsOwnText(const KVHostView& view) {
  return dynamic_cast<const KVHostButton*>(&view) != nullptr ||
         dynamic_cast<const KVHostSegmentedControl*>(&view) != nullptr ||
         dynamic_cast<const KVHostTableHeader*>(&view) != nullptr ||
         dynamic_cast<const KVHostTextField*>(&view) != nullptr ||
         dynamic_cast<const KVHostTextView*>(&view) != nullptr;
}

void kolvaneUpdateText(KVHostView& view, const std::u16string& oldText, const void* oldIdentity,
                       const std::u16string& newText) {
  if (auto* button = dynamic_cast<KVHostButton*>(&view)) {
    // The title label already shows the new text: the title follows the label.
    const auto shown = button->titleLabelText();
    button->setTitle(shown ? shown->string() : std::u16string());
  } else if (auto* segments = dynamic_cast<KVHostSegmentedControl*>(&view)) {
    for (std::size_t i = 0; i < segments->numberOfSegments(); ++i) {
      if (segments->titleForSegment(i) == oldText) {
        segments->setTitleForSegment(i, newText);
        break;
      }
    }
  } else if (auto* header = dynamic_cast<KVHostTableHeader*>(&view)) {
    // The label was rewritten already, so it is compared with the new text.
    if (header->textLabelText() == newText) {
      header->setTextLabelText(Platform::current().textServices().uppercase(newText));
    }
  } else if (auto* field = dynamic_cast<KVHostTextField*>(&view)) {
    if (oldIdentity != nullptr && field->placeholderIdentity() == oldIdentity) {
      field->setPlaceholder(newText);
    }
  } else if (auto* textView = dynamic_cast<KVHostTextView*>(&view)) {
    if (textView->attributedText().string() == oldText) textView->setText(newText);
  }
}

void kolvaneUpdateAttributedText(KVHostView& view, const KVAttributedText& oldText,
                                 const KVAttributedText& newText) {
  if (auto* button = dynamic_cast<KVHostButton*>(&view)) {
    const auto shown = button->titleLabelText();
    if (shown && shown->string() == oldText.string()) {
      button->setAttributedTitle(newText);
    } else {
      button->setAttributedTitle(shown.value_or(KVAttributedText()));
    }
  } else if (dynamic_cast<KVHostTableHeader*>(&view) != nullptr) {
    kolvaneUpdateText(view, oldText.string(), nullptr, newText.string());
  } else if (auto* textView = dynamic_cast<KVHostTextView*>(&view)) {
    if (textView->attributedText() == oldText) textView->setAttributedText(newText);
  }
}

void kolvaneUpdateSubviewsText(KVHostView& view, const std::u16string& oldText,
                               const std::u16string& newText) {
  if (kv_keepsItsOwnText(view)) {
    kolvaneUpdateText(view, oldText, nullptr, newText);
    return;
  }
  for (const auto& subview : view.subviews()) {
    if (subview) kolvaneUpdateSubviewsText(*subview, oldText, newText);
  }
}

}  // namespace kolvane
