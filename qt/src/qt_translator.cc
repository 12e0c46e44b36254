#include "qt_translator.h"

#include <QCoreApplication>
#include <QThread>
#include <algorithm>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>

#include "kolvane/bundle.h"
#include "kolvane/cues.h"
#include "kolvane/lookup.h"
#include "kolvane/number.h"
#include "kolvane/platform.h"
#include "kolvane/tool.h"

namespace kolvane {
namespace {

std::u16string toU16(const QString& text) { return text.toStdU16String(); }

// The app's own table `context` of a bundle folder for `key`; none when it holds no
// translation of its own (a missing key answers the key itself).
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

// Kolvane's stores' string, made into a QString straight from the store's text.
std::optional<QString> storedText(std::string_view key, int n) {
  QString text;
  const KolvaneTextReader read = [](std::u16string_view stored, void* into) {
    *static_cast<QString*>(into) = QString(reinterpret_cast<const QChar*>(stored.data()),
                                           static_cast<qsizetype>(stored.size()));
  };
  if (n >= 0 && KolvaneReadStoredString(key, Number(static_cast<long long>(n)), read, &text)) {
    return text;
  }
  if (KolvaneReadStoredString(key, std::nullopt, read, &text)) return text;
  return std::nullopt;
}

// Notes what the app's catalogues answered, so that a long press finds it. The language is
// asked only for a numerus message.
template <typename Language>
QString noted(const std::string& key, const char* sourceText, const std::u16string& text,
              const Language& language, int n) {
  std::optional<Number> value;
  std::string languageName;
  if (n >= 0) {
    value = Number(static_cast<long long>(n));
    languageName = language();
  }
  KolvaneNoteAppString(key, sourceText, text, languageName, value);
  return QString::fromStdU16String(text);
}

// The app's own translators.
std::optional<QString> appText(const std::string& key, const char* context, const char* sourceText,
                               const char* disambiguation, int n) {
  QString language;
  const QString answer =
      KVQtAppTranslators::instance().translate(context, sourceText, disambiguation, n, &language);
  if (answer.isNull()) return std::nullopt;
  return noted(
      key, sourceText, kv_stringWithCues(toU16(answer)),
      [&language] { return language.toStdString(); }, n);
}

// The language the source texts are written in.
std::string developmentLanguage() {
  return Platform::current().mainBundle().infoString("CFBundleDevelopmentRegion").value_or("en");
}

}  // namespace

KVQtAppTranslators& KVQtAppTranslators::instance() {
  static auto* translators = new KVQtAppTranslators;  // asked until the process ends
  return *translators;
}

bool KVQtAppTranslators::add(QTranslator* translator) {
  if (translator == nullptr) return false;
  {
    std::unique_lock lock(mutex_);
    if (std::find(translators_.begin(), translators_.end(), translator) != translators_.end()) {
      return false;
    }
    translators_.insert(translators_.begin(), translator);
  }
  QObject::connect(translator, &QObject::destroyed,
                   [translator] { KVQtAppTranslators::instance().remove(translator); });
  return true;
}

bool KVQtAppTranslators::remove(QTranslator* translator) {
  std::unique_lock lock(mutex_);
  const auto found = std::find(translators_.begin(), translators_.end(), translator);
  if (found == translators_.end()) return false;
  translators_.erase(found);
  return true;
}

std::vector<QTranslator*> KVQtAppTranslators::all() const {
  std::shared_lock lock(mutex_);
  return translators_;
}

QString KVQtAppTranslators::translate(const char* context, const char* sourceText,
                                      const char* disambiguation, int n, QString* language) const {
  std::shared_lock lock(mutex_);
  for (const QTranslator* translator : translators_) {
    QString answer = translator->translate(context, sourceText, disambiguation, n);
    if (answer.isNull()) continue;
    if (language != nullptr) *language = translator->language();
    return answer;
  }
  return QString();
}

bool kv_isQtContext(const char* context) {
  // Qt's classes are named Q followed by a capital; apps' classes rarely are. QObject is the
  // exception: apps translate with QObject::tr() outside their own classes.
  return context != nullptr && context[0] == 'Q' && context[1] >= 'A' && context[1] <= 'Z' &&
         std::strcmp(context, "QObject") != 0;
}

QString KVQtTranslator::translate(const char* context, const char* sourceText,
                                  const char* disambiguation, int n) const {
  if (sourceText == nullptr || *sourceText == '\0' || kv_isQtContext(context) ||
      std::strcmp(sourceText, "QT_LAYOUT_DIRECTION") == 0) {
    // Qt's own strings, and the app's translations of them, stay as they are.
    return KVQtAppTranslators::instance().translate(context, sourceText, disambiguation, n,
                                                    nullptr);
  }
  try {
    const auto answer = [&]() -> QString {
      // Without a disambiguation the key is the source text: no key is made for a hit.
      const bool plain = disambiguation == nullptr || *disambiguation == '\0';
      if (plain) {
        if (auto stored = storedText(sourceText, n)) return *stored;
      }
      const std::string key =
          KolvaneMessageKey(sourceText, disambiguation != nullptr ? disambiguation : "");
      if (!plain) {
        if (auto stored = storedText(key, n)) return *stored;
      }
      if (auto own = appText(key, context, sourceText, disambiguation, n)) return *own;
      const std::u16string source = toU16(QString::fromUtf8(sourceText));
      if (auto own = bundleText(sourceText, source, context)) {
        return QString::fromStdU16String(*own);
      }
      if (context != nullptr) {
        if (auto designed = designTimeText(source)) return QString::fromStdU16String(*designed);
      }
      return noted(key, sourceText, kv_stringWithCues(source), developmentLanguage, n);
    }();
    if (!KolvaneTool::pseudoTranslation()) return answer;
    return QString::fromStdU16String(KolvaneTool::shownAnswer(answer.toStdU16String()));
  } catch (...) {
    // The app keeps its own text rather than see an exception from inside Qt.
    return QString();
  }
}

}  // namespace kolvane
