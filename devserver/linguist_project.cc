#include "linguist_project.h"

#include <libxml/parser.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>

#include "base/utf.h"
#include "seed.h"
#include "strings/cues.h"
#include "strings/linguist_catalogue.h"
#include "strings/message_key.h"
#include "strings/qt_numerus_forms.h"
#include "strings/xml_nodes.h"

namespace devserver {
namespace {

using kolvane::KVLinguistFile;
using kolvane::KVLinguistMessage;
using kolvane::xml::escaped;
using kolvane::xml::textOf;

// A language as a catalogue names it ("fr", "pt_BR", "zh-Hant"): it becomes a locale id in
// the server's paths, so nothing else may be in it.
bool isLanguageId(const std::string& language) {
  if (language.empty() || language.size() > 32) return false;
  for (const char c : language) {
    const bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                         (c >= '0' && c <= '9') || c == '_' || c == '-';
    if (!allowed) return false;
  }
  return true;
}

// "fr_FR" as the server names locales: "fr-FR".
std::string localeOf(std::string language) {
  for (char& c : language) {
    if (c == '_') c = '-';
  }
  return language;
}

// A unit's hash code: the key's FNV-1a hash, so that an import of the same catalogues gives
// the same units.
std::string hashcodeOfKey(const std::string& key) {
  std::uint64_t hash = 14695981039346656037ull;
  for (const unsigned char c : key) {
    hash ^= c;
    hash *= 1099511628211ull;
  }
  char text[20];
  std::snprintf(text, sizeof text, "ts%016llx", static_cast<unsigned long long>(hash));
  return text;
}

// A text as the server stores a target: escaped, each placeholder as a <ph> element.
std::string targetXml(const std::string& text) {
  const std::u16string marked = kolvane::kv_stringWithCues(kolvane::toUtf16(text));
  std::string out;
  std::u16string run;
  int placeholder = 0;
  const auto flush = [&] {
    out += escaped(kolvane::toUtf8(run));
    run.clear();
  };
  for (const char16_t c : marked) {
    if (c == kolvane::kv_beginCue || c == kolvane::kv_endCue) continue;
    if (c == kolvane::kv_placeholderBeginCue) {
      flush();
      out += "<ph id=\"" + std::to_string(++placeholder) + "\">";
    } else if (c == kolvane::kv_placeholderEndCue) {
      flush();
      out += "</ph>";
    } else {
      run += c;
    }
  }
  flush();
  return out;
}

// The plain text of a stored target.
std::string plainText(const std::string& target) {
  const std::string document = "<t>" + target + "</t>";
  std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc(
      xmlReadMemory(document.data(), static_cast<int>(document.size()), "target.xml", nullptr,
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
      &xmlFreeDoc);
  return doc ? textOf(xmlDocGetRootElement(doc.get())) : std::string();
}

std::string unitId(const std::string& hashcode, const std::string& category) {
  return category.empty() ? hashcode : hashcode + "[" + category + "]";
}

// Each category's text of a message in `language`: a numerus message's form for each
// category Qt's forms stand for (the first form of a category wins), else one text.
std::map<std::string, std::string> textsByCategory(const KVLinguistMessage& message,
                                                   const std::string& language) {
  std::map<std::string, std::string> texts;
  if (!message.numerus) {
    if (!message.translations.empty()) texts[""] = message.translations[0];
    return texts;
  }
  const auto categories = kolvane::kv_qtNumerusCategories(language);
  for (std::size_t form = 0; form < message.translations.size() && form < categories.size();
       ++form) {
    texts.emplace(categories[form], message.translations[form]);
  }
  return texts;
}

// Whether each numerus form of `message` is the first of its category: then the units, one
// per category, hold every form.
bool representable(const KVLinguistMessage& message, const std::string& language) {
  if (!message.numerus) return true;
  const auto texts = textsByCategory(message, language);
  const auto categories = kolvane::kv_qtNumerusCategories(language);
  for (std::size_t form = 0; form < message.translations.size() && form < categories.size();
       ++form) {
    if (texts.at(categories[form]) != message.translations[form]) return false;
  }
  return true;
}

void addUnits(std::vector<Unit>& units, const std::string& key,
              const std::map<std::string, std::string>& texts) {
  const std::string hashcode = hashcodeOfKey(key);
  for (const auto& [category, text] : texts) {
    units.push_back({unitId(hashcode, category), hashcode, key});
  }
}

}  // namespace

void importLinguist(Store& store, const std::string& projectId,
                    const std::vector<std::string>& files, const std::string& seedFolder) {
  nlohmann::json settings = readProjectSettings(seedFolder);
  std::vector<KVLinguistFile> catalogues;
  for (const std::string& path : files) {
    auto file = kolvane::kv_readLinguist(readFile(path));
    if (!file || !isLanguageId(file->language)) {
      throw std::runtime_error(path + " is not a Linguist catalogue with a language");
    }
    if (!isLanguageId(file->sourceLanguage)) {
      throw std::runtime_error(path + " names no source language the server can use");
    }
    catalogues.push_back(std::move(*file));
  }
  if (catalogues.empty()) throw std::runtime_error("no catalogue to import");
  const std::string sourceLanguage = catalogues[0].sourceLanguage;
  settings["id"] = projectId;
  settings["name"] = projectId;
  settings["sourceLocale"] = localeOf(sourceLanguage);
  settings["locales"] = nlohmann::json::array({localeOf(sourceLanguage)});
  for (const auto& file : catalogues) {
    const std::string locale = localeOf(file.language);
    // A catalogue of the source language itself, or two of one language, would overwrite
    // each other's texts.
    for (const auto& known : settings["locales"]) {
      if (known == locale) throw std::runtime_error("two catalogues of " + locale + " to import");
    }
    settings["locales"].push_back(locale);
  }
  const std::string published = publishedStep(settings);
  const std::string firstStep = settings.at("workflows").at(0).at("steps").at(0).at("uid");

  // The messages in the order they come, each context once: what an export writes back.
  nlohmann::json messages = nlohmann::json::array();
  std::map<std::string, std::vector<Store::TextPut>> texts;            // by locale
  std::map<std::string, std::size_t> listed;                           // context and key to message
  std::map<std::string, std::map<std::string, std::string>> imported;  // locale and key
  std::vector<Unit> units;
  for (const auto& file : catalogues) {
    const std::string locale = localeOf(file.language);
    for (const KVLinguistMessage& message : file.messages) {
      if (message.type == "vanished" || message.type == "obsolete") continue;
      const std::string key = kolvane::kv_messageKey(message.source, message.comment);
      const std::string hashcode = hashcodeOfKey(key);
      auto [entry, isNew] = listed.emplace(message.context + "\n" + key, messages.size());
      if (isNew) {
        messages.push_back({message.context, key, message.numerus});
        KVLinguistMessage source = message;
        source.translations.assign(message.numerus ? 6 : 1, message.source);
        const auto sourceTexts = textsByCategory(source, sourceLanguage);
        addUnits(units, key, sourceTexts);
        for (const auto& [category, text] : sourceTexts) {
          texts[localeOf(sourceLanguage)].push_back(
              {unitId(hashcode, category), published, targetXml(text)});
        }
      }
      const auto translated = textsByCategory(message, file.language);
      auto [first, isFirst] = imported.emplace(locale + "\n" + key, translated);
      if (isFirst) {
        addUnits(units, key, translated);
        for (const auto& [category, text] : translated) {
          if (text.empty()) continue;
          texts[locale].push_back({unitId(hashcode, category),
                                   message.type.empty() ? published : firstStep, targetXml(text)});
        }
      }
      // What the units cannot hold (the key translated otherwise in another context, or
      // forms of one category that differ) is kept with the message, and written back as
      // long as the units still hold what was imported.
      if (translated != first->second || !representable(message, file.language)) {
        messages[entry->second][3][locale] = {
            {"forms", message.translations}, {"type", message.type}, {"base", first->second}};
      }
    }
  }
  settings["linguistMessages"] = messages;
  store.putProject(settings);
  store.putUnits(projectId, units);
  for (const auto& [locale, localeTexts] : texts) {
    store.putTexts(projectId, locale, localeTexts, published);
  }
}

std::string exportLinguist(Store& store, const std::string& projectId, const std::string& locale) {
  const auto settings = store.project(projectId);
  if (!settings || !settings->contains("linguistMessages")) {
    throw std::runtime_error("no project " + projectId + " made from Linguist catalogues");
  }
  const auto& locales = settings->at("locales");
  if (std::find(locales.begin(), locales.end(), locale) == locales.end()) {
    throw std::runtime_error("project " + projectId + " has no locale " + locale);
  }
  std::vector<std::string> steps;
  for (const auto& step : settings->at("workflows").at(0).at("steps"))
    steps.push_back(step.at("uid"));
  const std::string published = steps.back();
  KVLinguistFile file;
  file.language = locale;
  for (char& c : file.language) {
    if (c == '-') c = '_';
  }
  file.sourceLanguage = settings->value("sourceLocale", "en");
  const auto categories = kolvane::kv_qtNumerusCategories(file.language);
  for (const auto& listed : settings->at("linguistMessages")) {
    const std::string key = listed.at(1);
    const auto [source, comment] = kolvane::kv_messageKeyParts(key);
    KVLinguistMessage message{
        listed.at(0), std::string(source), std::string(comment), listed.at(2).get<bool>(), "", {}};
    const std::string hashcode = hashcodeOfKey(key);
    bool finished = true;
    const auto translationOf = [&](const std::string& id) {
      if (auto text = store.textOf(projectId, locale, id, published)) return plainText(*text);
      finished = false;
      for (const std::string& step : steps) {
        if (auto text = store.textOf(projectId, locale, id, step)) return plainText(*text);
      }
      return std::string();
    };
    std::map<std::string, std::string> current;
    if (message.numerus) {
      for (const std::string& category : categories) {
        current.emplace(category, translationOf(unitId(hashcode, category)));
        message.translations.push_back(current[category]);
      }
    } else {
      current[""] = translationOf(hashcode);
      message.translations.push_back(current[""]);
    }
    // Untouched since the import: the message as it came.
    const nlohmann::json* kept = nullptr;
    if (listed.size() > 3 && listed.at(3).is_object() && listed.at(3).contains(locale)) {
      kept = &listed.at(3).at(locale);
    }
    if (kept != nullptr && kept->at("base").get<std::map<std::string, std::string>>() == current) {
      message.translations = kept->at("forms").get<std::vector<std::string>>();
      message.type = kept->at("type").get<std::string>();
      file.messages.push_back(std::move(message));
      continue;
    }
    if (!finished) message.type = "unfinished";
    file.messages.push_back(std::move(message));
  }
  return kolvane::kv_writeLinguist(file);
}

}  // namespace devserver
