#include "qt_translator.h"

#include <QCoreApplication>
#include <QThread>
#include <cstring>
#include <optional>
#include <string>

#include "kolvane/bundle.h"
#include "kolvane/cues.h"
#include "kolvane/kolvane.h"
#include "kolvane/lookup.h"
#include "kolvane/number.h"
#include "kolvane/platform.h"
#include "kolvane/tool.h"

namespace kolvane {

namespace {

// The app's own table `context` for `key`; none when it holds no translation of its own (a
// missing key answers the key itself).
std::optional<std::u16string> bundleText(const char* key, const std::u16string& keyText,
                                         const char* context) {
  const std::u16string own = Platform::current().mainBundle().platformLocalizedStringForKey(
      key, u"", context != nullptr ? context : "");
  if (own == keyText) return std::nullopt;
  return kv_stringWithCues(own);
}

// A text from a form (a .ui file) is the development locale's text of some key: when nothing
// else translates it, the string of that key is shown instead. The index is read on the main
// thread only.
std::optional<std::u16string> designTimeText(const std::u16string& source) {
  const QCoreApplication* application = QCoreApplication::instance();
  if (application == nullptr || QThread::currentThread() != application->thread()) {
    return std::nullopt;
  }
  // The index holds the development texts as the stores do, cues included.
  return KolvaneTool::textForDesignTimeText(kv_stringWithCues(source));
}

// Kolvane's stores, then the app's own table, then a form's text, then the source text.
std::u16string textFor(const char* context, const char* sourceText) {
  if (auto stored = KolvaneStoredStringForKey(sourceText)) return std::move(*stored);
  const std::u16string source = QString::fromUtf8(sourceText).toStdU16String();
  if (auto own = bundleText(sourceText, source, context)) return std::move(*own);
  if (context != nullptr) {
    if (auto designed = designTimeText(source)) return std::move(*designed);
  }
  return kv_stringWithCues(source);
}

}  // namespace

bool kv_isQtContext(const char* context) {
  // Qt's classes are named Q followed by a capital; apps' classes rarely are.
  return context != nullptr && context[0] == 'Q' && context[1] >= 'A' && context[1] <= 'Z';
}

QString KVQtTranslator::translate(const char* context, const char* sourceText,
                                  const char* /*disambiguation*/, int n) const {
  if (sourceText == nullptr || *sourceText == '\0' || kv_isQtContext(context) ||
      std::strcmp(sourceText, "QT_LAYOUT_DIRECTION") == 0) {
    return QString();  // a null answer passes the call on
  }
  try {
    std::u16string text;
    if (n >= 0) {
      text = KolvaneSDK::pluralizedStringWithKey(sourceText, Number(static_cast<long long>(n)));
    } else {
      text = textFor(context, sourceText);
    }
    return QString::fromStdU16String(text);
  } catch (...) {
    // The app keeps its own text rather than see an exception from inside Qt.
    return QString();
  }
}

}  // namespace kolvane
