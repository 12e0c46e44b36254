#include "capture/view_strings.h"

#include <algorithm>

#include "base/log.h"
#include "base/utf.h"
#include "capture/control_text.h"
#include "core/locale_strings.h"
#include "core/main_controller.h"
#include "strings/cues.h"
#include "strings/string_group.h"

namespace kolvane {
namespace {

const std::u16string kEmptyMarker{kv_beginCue, kv_endCue};

// The line is made only when debug lines are on: tracing runs for every text of a window.
template <class Line>
void debugLine(const Line& line) {
  if (debugEnabled()) kvLog(line());
}

std::string describe(const std::shared_ptr<const KVString>& string) {
  return string ? string->description() : "(null)";
}

std::string describe(const KVViewStrings::Values& values) {
  std::string text = "(";
  for (const auto& value : values) {
    if (text.size() > 1) text += ", ";
    if (const auto* literal = std::get_if<std::u16string>(&value)) {
      text += toUtf8(kv_stringShowingCues(*literal));
    } else {
      text += describe(std::get<std::shared_ptr<const KVString>>(value));
    }
  }
  return text + ")";
}

// Every occurrence of `from` in `text` replaced by `to`, left to right.
void replaceAll(std::u16string& text, std::u16string_view from, std::u16string_view to) {
  if (from.empty()) return;
  for (std::size_t at = text.find(from); at != std::u16string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

// The captured values stand in the order of the captured format's placeholders; each is the
// value of the argument its placeholder's specifier names, which a format in another order
// (a translation, an edit) asks for by that argument.
constexpr std::size_t kMaxArguments = 64;

std::vector<const KVArgumentValue*> valuesByArgument(std::u16string_view capturedFormat,
                                                     const KVViewStrings::Values& values) {
  std::vector<const KVArgumentValue*> arguments;
  std::size_t rank = 0;
  kv_enumerateCuesUsingBlock(capturedFormat, [&](std::u16string_view specifier) {
    const std::size_t argument = kv_argumentIndexOfSpecifier(specifier, rank);
    // A format may name later arguments only ("One file in %2$@"); positions past any a
    // format could use name none of these.
    if (rank < values.size() && argument < kMaxArguments) {
      if (arguments.size() <= argument) arguments.resize(argument + 1, nullptr);
      arguments[argument] = &values[rank];
    }
    ++rank;
    return std::optional<std::u16string>();
  });
  return arguments;
}

}  // namespace

std::u16string KVViewStrings::capturedText() const {
  if (originalString) return *originalString;
  return originalAttributedString ? originalAttributedString->string() : std::u16string();
}

const std::vector<std::shared_ptr<const KVString>>& KVViewStrings::kolvaneStringsInString() {
  std::vector<KVEditionItem> items = kv_localizedStringsInString(capturedText());
  firstLevel_.clear();
  strings_.clear();
  spans_.clear();
  values_.clear();
  const KVMainController& controller = KVMainController::sharedInstance();
  for (KVEditionItem& item : items) {
    // Nested records found before (they start later) are cut out of this span's text, the
    // later ones first, so the offsets of the earlier ones stay valid.
    Values nested;
    for (std::size_t i = 0; i < strings_.size(); ++i) {
      const Span& inner = spans_[i];
      const std::size_t innerEnd = inner.range.location + inner.range.length;
      const std::size_t end = item.range.location + item.range.length;
      if (inner.level != item.level + 1 || inner.range.location <= item.range.location ||
          innerEnd >= end) {
        continue;
      }
      nested.emplace_back(strings_[i]);
      const std::size_t cutFrom = inner.range.location - item.range.location;
      const std::size_t cutTo = innerEnd - item.range.location;
      if (cutTo > item.string.size() || cutFrom > cutTo) continue;
      item.string = item.string.substr(0, cutFrom) + kEmptyMarker + item.string.substr(cutTo);
    }
    std::optional<Values> values;
    if (!nested.empty()) values = std::move(nested);
    const auto found = controller.kolvaneStringWithNonNestedString(item.string, &values);
    debugLine([&] {
      return "Found string " + describe(found) + " for localized string " +
             toUtf8(kv_stringShowingCues(item.string));
    });
    if (!found || std::find(strings_.begin(), strings_.end(), found) != strings_.end()) continue;
    strings_.push_back(found);
    spans_.push_back({item.range, item.level});
    values_.push_back(values.value_or(Values()));
    if (item.level == 1) {
      item.targetString = found->group.lock();
      item.pluralForm = found->pluralForm;
      firstLevel_.insert(firstLevel_.begin(), std::move(item));
    }
  }
  return strings_;
}

std::shared_ptr<const KVString> KVViewStrings::updatedKolvaneString(const KVString& string) {
  const KVMainController& controller = KVMainController::sharedInstance();
  if (const auto shown = controller.localeStrings()) {
    [[maybe_unused]] const auto unused = shown->kolvaneStringForKey(string.key, string.pluralForm);
  }
  const auto base = controller.baseLocaleStrings();
  return base ? base->kolvaneStringForKey(string.key, string.pluralForm) : nullptr;
}

std::u16string KVViewStrings::newLocalizedStringForKolvaneString(const KVString& string) const {
  return rebuiltFormat(string, 0);
}

std::u16string KVViewStrings::rebuiltFormat(const KVString& string, int depth) const {
  const auto found = std::find_if(strings_.begin(), strings_.end(), [&string](const auto& known) {
    return known->key == string.key;
  });
  const auto index = static_cast<std::size_t>(found - strings_.begin());
  // A record whose values hold a record of its own key would rebuild forever: past the
  // deepest nesting a text can carry, the format stands as it is.
  if (found == strings_.end() || index >= values_.size() ||
      depth >= static_cast<int>(kv_maxCueNesting)) {
    debugLine([&] { return "Did not find values for kolvane string " + string.description(); });
    return string.localizedFormat;
  }
  const std::vector<const KVArgumentValue*> arguments =
      valuesByArgument(strings_[index]->localizedFormat, values_[index]);
  std::size_t rank = 0;
  return kv_enumerateCuesUsingBlock(
      string.localizedFormat, [&](std::u16string_view specifier) -> std::optional<std::u16string> {
        const std::size_t argument = kv_argumentIndexOfSpecifier(specifier, rank++);
        if (argument < arguments.size() && arguments[argument] != nullptr) {
          const KVArgumentValue& value = *arguments[argument];
          if (const auto* literal = std::get_if<std::u16string>(&value)) return *literal;
          if (const auto& record = std::get<std::shared_ptr<const KVString>>(value)) {
            return rebuiltFormat(*record, depth + 1);
          }
          debugLine([&] {
            return "Wrong value type for kolvane string " + string.description() + " (index " +
                   std::to_string(rank) + " value (null))";
          });
        }
        debugLine([&] {
          return "Not enough values for kolvane string " + string.description() + " (index " +
                 std::to_string(rank) + " values " + describe(values_[index]) + ")";
        });
        return std::nullopt;
      });
}

std::optional<std::u16string> KVViewStrings::currentTextOf(const KVEditionItem& item) const {
  const auto form =
      item.targetString ? item.targetString->stringForPluralForm(item.pluralForm, true) : nullptr;
  const auto current = form ? updatedKolvaneString(*form) : nullptr;
  // The original appended nothing it could use here; a missing record adds no text.
  if (!current) return std::nullopt;
  return newLocalizedStringForKolvaneString(*current);
}

std::u16string KVViewStrings::newLocalizedString() const {
  if (!firstLevel_.empty()) {
    std::u16string text;
    for (const KVEditionItem& item : firstLevel_) text += currentTextOf(item).value_or(u"");
    return text;
  }
  std::u16string text = originalString.value_or(u"");
  for (const auto& string : strings_) {
    if (const auto current = updatedKolvaneString(*string)) {
      replaceAll(text, string->localizedFormat, current->localizedFormat);
    }
  }
  return text;
}

KVAttributedText KVViewStrings::newLocalizedAttributedString() const {
  const KVAttributedText original = originalAttributedString.value_or(KVAttributedText());
  if (!firstLevel_.empty()) {
    KVAttributedText text;
    std::optional<KVTextAttributes> attributes;
    for (const KVEditionItem& item : firstLevel_) {
      KVRange effective;
      KVTextAttributes here = original.attributesAt(item.range.location, item.range, &effective);
      // Attributes that change inside the span keep those of the span before.
      if (effective.length >= item.range.length || !attributes) attributes = std::move(here);
      text.append(currentTextOf(item).value_or(u""), *attributes);
    }
    return text;
  }
  KVAttributedText text = original;
  for (const auto& string : strings_) {
    const auto current = updatedKolvaneString(*string);
    if (!current || string->localizedFormat.empty()) continue;
    const std::size_t at = text.string().find(string->localizedFormat);
    if (at == std::u16string::npos) continue;
    text.replaceCharacters({at, string->localizedFormat.size()}, current->localizedFormat);
  }
  return text;
}

void KVViewStrings::updateView() const {
  if (!view) return;
  std::optional<KVAttributedText> attributed;
  std::optional<std::u16string> plain;
  if (originalAttributedString) {
    attributed = newLocalizedAttributedString();
  } else if (originalString) {
    plain = newLocalizedString();
  } else {
    return;
  }
  if (auto* label = dynamic_cast<KVHostLabel*>(view.get())) {
    if (attributed) {
      label->setAttributedText(*attributed);
    } else {
      label->setText(*plain);
    }
  }
  for (auto owner = view->superview(); owner; owner = owner->superview()) {
    if (!kv_keepsItsOwnText(*owner)) continue;
    if (originalString) {
      kolvaneUpdateText(*owner, *originalString, originalStringIdentity,
                        attributed ? attributed->string() : *plain);
    } else {
      kolvaneUpdateAttributedText(*owner, *originalAttributedString, *attributed);
    }
    break;
  }
  for (auto shown = view; shown; shown = shown->superview()) {
    if (auto* list = dynamic_cast<KVHostList*>(shown.get())) {
      list->reloadData();
    } else {
      shown->setNeedsLayout();
    }
  }
}

std::string KVViewStrings::description() const {
  std::string records = "(";
  for (const auto& string : strings_) {
    if (records.size() > 1) records += ", ";
    records += string->description();
  }
  records += ")";
  const std::string viewName = view ? view->className() : "(null)";
  if (originalString) {
    return "<KVViewStrings string " + toUtf8(kv_stringShowingCues(*originalString)) + " - view " +
           viewName + " - kolvaneStrings " + records + ">";
  }
  if (originalAttributedString) {
    return "<KVViewStrings attributed string " +
           toUtf8(kv_stringShowingCues(originalAttributedString->string())) + " - view " +
           viewName + " - kolvaneStrings " + records + ">";
  }
  return "<KVViewStrings empty>";
}

}  // namespace kolvane
