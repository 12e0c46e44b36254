#include "qt_translator.h"

#include <QCoreApplication>
#include <QThread>
#include <cstring>
#include <string>

#include "kolvane/bundle.h"
#include "kolvane/cues.h"
#include "kolvane/kolvane.h"
#include "kolvane/number.h"
#include "kolvane/platform.h"
#include "kolvane/tool.h"

namespace kolvane {

namespace {

// A text from a form (a .ui file) is the development locale's text of some key: when the
// lookup found no string of its own for it, the string of that key is shown instead. The
// index is read on the main thread only.
std::u16string designTimeTextOr(std::u16string found, const char* sourceText) {
  // A miss is the source text between the two outer cues (UTF-16 is never longer than UTF-8).
  if (found.size() < 2 || found.front() != kv_beginCue || found.back() != kv_endCue ||
      found.size() - 2 > std::strlen(sourceText) ||
      QThread::currentThread() != QCoreApplication::instance()->thread()) {
    return found;
  }
  const std::u16string source = QString::fromUtf8(sourceText).toStdU16String();
  if (found.compare(1, found.size() - 2, source) != 0) return found;
  // The index holds the development texts as the stores do, cues included.
  return KolvaneTool::textForDesignTimeText(found).value_or(std::move(found));
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
      // A key found nowhere comes back as itself, which is the source text: no value needed.
      text = Platform::current().mainBundle().localizedStringForKey(
          sourceText, u"", context != nullptr ? context : "");
      if (context != nullptr) text = designTimeTextOr(std::move(text), sourceText);
    }
    return QString::fromStdU16String(text);
  } catch (...) {
    // The app keeps its own text rather than see an exception from inside Qt.
    return QString();
  }
}

}  // namespace kolvane
