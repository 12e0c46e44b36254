// The lookup hook of Qt apps. tr(source, disambiguation, n) and qtTrId(id) look up the source
// text (with its disambiguation, see KolvaneMessageKey) or the id as a key in Kolvane's stores,
// the plural form for n when n is given; then ask the app's own translators, which it handed
// to Kolvane, as Qt would have asked them; then the app's tables and forms of a bundle
// folder; and answer the source text last. Every answer carries cues. Qt's own strings go to
// the app's translators untouched. Any thread.
#pragma once

#include <QString>
#include <QTranslator>
#include <shared_mutex>
#include <vector>

namespace kolvane {

// The app's translators under Kolvane's, asked last installed first as Qt asks its own.
class KVQtAppTranslators {
 public:
  static KVQtAppTranslators& instance();
  // False when it is null or there already. A translator destroyed leaves the list.
  bool add(QTranslator* translator);
  bool remove(QTranslator* translator);
  // In the order they are asked.
  std::vector<QTranslator*> all() const;
  // The first answer that is not null, with the language of the translator that gave it.
  QString translate(const char* context, const char* sourceText, const char* disambiguation, int n,
                    QString* language) const;

 private:
  mutable std::shared_mutex mutex_;
  std::vector<QTranslator*> translators_;  // the last installed first
};

class KVQtTranslator : public QTranslator {
 public:
  using QTranslator::QTranslator;
  // Never empty, or Qt would refuse to install it.
  bool isEmpty() const override { return false; }
  QString translate(const char* context, const char* sourceText, const char* disambiguation,
                    int n) const override;
};

// Whether a translation context is one of Qt's own classes (QLineEdit, QPlatformTheme, ...);
// "QObject", which apps use through QObject::tr(), is the app's.
bool kv_isQtContext(const char* context);

}  // namespace kolvane
