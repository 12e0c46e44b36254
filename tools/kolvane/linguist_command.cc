// kolvane ts read FILE: a Qt Linguist catalogue as Kolvane reads it, as JSON: each message's
// key (source text and disambiguation), context, state and its forms by plural category with
// the placeholders found in them.
#include <nlohmann/json.hpp>

#include "base/utf.h"
#include "commands.h"
#include "json_output.h"
#include "kolvane/platform.h"
#include "strings/cues.h"
#include "strings/linguist_catalogue.h"
#include "strings/message_key.h"
#include "strings/qt_numerus_forms.h"

namespace kolvane::cli {
namespace {

nlohmann::json formJson(const std::string& text) {
  nlohmann::json placeholders = nlohmann::json::array();
  kv_forEachPlaceholder(kv_stringWithCues(toUtf16(text)), [&](std::u16string_view placeholder) {
    placeholders.push_back(toUtf8(placeholder));
  });
  return {{"text", text}, {"placeholders", placeholders}};
}

nlohmann::json messageJson(const KVLinguistMessage& message, const std::string& language) {
  nlohmann::json forms = nlohmann::json::object();
  if (message.numerus) {
    const auto categories = kv_qtNumerusCategories(language);
    for (std::size_t form = 0; form < message.translations.size(); ++form) {
      const std::string category =
          form < categories.size() ? categories[form] : "form" + std::to_string(form);
      if (!forms.contains(category)) forms[category] = formJson(message.translations[form]);
    }
  } else if (!message.translations.empty()) {
    forms["none"] = formJson(message.translations[0]);
  }
  return {{"key", kv_messageKey(message.source, message.comment)},
          {"context", message.context},
          {"source", message.source},
          {"disambiguation", message.comment},
          {"numerus", message.numerus},
          {"state", message.type.empty() ? "finished" : message.type},
          {"forms", forms}};
}

}  // namespace

int runTs(const Arguments& args) {
  if (args.size() != 2 || args[0] != "read") throw UsageError("expected read FILE");
  const auto bytes = Platform::current().fileSystem().readFile(args[1]);
  if (!bytes) throw Failure("cannot read " + args[1]);
  const auto file = kv_readLinguist(*bytes);
  if (!file) throw Failure(args[1] + " is not a Linguist catalogue");
  nlohmann::json messages = nlohmann::json::array();
  for (const KVLinguistMessage& message : file->messages) {
    messages.push_back(messageJson(message, file->language));
  }
  printJson({{"language", file->language},
             {"sourceLanguage", file->sourceLanguage},
             {"numerusCategories", kv_qtNumerusCategories(file->language)},
             {"messages", messages}});
  return 0;
}

}  // namespace kolvane::cli
