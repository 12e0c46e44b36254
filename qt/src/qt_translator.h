// The lookup hook of Qt apps: qtTrId(id) looks the id up as a key, tr(text) the source text as
// a key in the table named by its context, tr(text, nullptr, n) the plural form for n. Qt's
// own strings pass on untouched. Any thread.
#pragma once

#include <QTranslator>

namespace kolvane {

class KVQtTranslator : public QTranslator {
 public:
  using QTranslator::QTranslator;
  // Never empty, or Qt would refuse to install it.
  bool isEmpty() const override { return false; }
  QString translate(const char* context, const char* sourceText, const char* disambiguation,
                    int n) const override;
};

// Whether a translation context is one of Qt's own classes (QLineEdit, QPlatformTheme, ...).
bool kv_isQtContext(const char* context);

}  // namespace kolvane
