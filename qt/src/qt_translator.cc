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

// Whether `text` is `utf8` with one more unit at each end, compared in place for ASCII (most
// source texts) and through a conversion otherwise.
bool isSourceBetweenCues(const std::u16string& text, const char* utf8) {
  const std::size_t inner = text.size() - 2;
  std::size_t at = 0;
  for (; utf8[at] != '\0'; ++at) {
    const auto byte = static_cast<unsigned char>(utf8[at]);
    if (byte >= 0x80) {
      return text.compare(1, inner, QString::fromUtf8(utf8).toStdU16String()) == 0;
    }
    if (at >= inner || text[at + 1] != byte) return false;
  }
  return at == inner;
}

// A text from a form (a .ui file) is the development locale's text of some key: when the
// lookup found no string of its own for it, the string of that key is shown instead. The
// index is read on the main thread only.
std::optional<std::u16string> designTimeText(const std::u16string& found, const char* sourceText) {
  const QCoreApplication* application = QCoreApplication::instance();
  // A miss is the source text between the two outer cues.
  if (found.size() < 2 || found.front() != kv_beginCue || found.back() != kv_endCue ||
      application == nullptr || QThread::currentThread() != application->thread() ||
      !isSourceBetweenCues(found, sourceText)) {
    return std::nullopt;
  }
  // The index holds the development texts as the stores do, cues included.
  return KolvaneTool::textForDesignTimeText(found);
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
      if (context != nullptr) {
        if (auto designed = designTimeText(text, sourceText)) text = std::move(*designed);
      }
    }
    return QString::fromStdU16String(text);
  } catch (...) {
    // The app keeps its own text rather than see an exception from inside Qt.
    return QString();
  }
}

}  // namespace kolvane
