#include "qt_translator.h"

#include <cstring>
#include <string>

#include "kolvane/bundle.h"
#include "kolvane/kolvane.h"
#include "kolvane/number.h"
#include "kolvane/platform.h"

namespace kolvane {

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
    }
    return QString::fromStdU16String(text);
  } catch (...) {
    // The app keeps its own text rather than see an exception from inside Qt.
    return QString();
  }
}

}  // namespace kolvane
