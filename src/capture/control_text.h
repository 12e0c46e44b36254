// How a control that keeps its own model of its text takes a new text, once the label drawing
// it was rewritten: buttons, segmented controls, table headers, text fields, text views.
#pragma once

#include <string>

#include "kolvane/attributed_text.h"
#include "kolvane/host_view.h"

namespace kolvane {

// Whether the view is such a control.
bool kv_keepsItsOwnText(const KVHostView& view);

// `oldIdentity` is the object the old text was read from (see KVViewStrings), or null.
void kolvaneUpdateText(KVHostView& view, const std::u16string& oldText, const void* oldIdentity,
                       const std::u16string& newText);
void kolvaneUpdateAttributedText(KVHostView& view, const KVAttributedText& oldText,
                                 const KVAttributedText& newText);
// Every such control under (and including) `view` that is not inside another takes the new
// text.
void kolvaneUpdateSubviewsText(KVHostView& view, const std::u16string& oldText,
                               const std::u16string& newText);

}  // namespace kolvane
