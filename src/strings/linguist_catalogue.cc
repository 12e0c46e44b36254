#include "strings/linguist_catalogue.h"

#include <libxml/parser.h>

#include <map>
#include <memory>

#include "strings/xml_nodes.h"

namespace kolvane {
namespace {

using xml::attribute;
using xml::escaped;
using xml::escapedAttribute;
using xml::named;
using xml::textOf;

KVLinguistMessage messageOf(xmlNode* node, const std::string& context) {
  KVLinguistMessage message;
  message.context = context;
  message.numerus = attribute(node, "numerus") == "yes";
  bool translated = false;  // the first <translation> is the one
  for (xmlNode* child = node->children; child; child = child->next) {
    if (named(child, "source")) message.source = textOf(child);
    if (named(child, "comment")) message.comment = textOf(child);
    if (!named(child, "translation") || translated) continue;
    translated = true;
    message.type = attribute(child, "type");
    if (!message.numerus) {
      message.translations.push_back(textOf(child));
      continue;
    }
    for (xmlNode* form = child->children; form; form = form->next) {
      if (named(form, "numerusform")) message.translations.push_back(textOf(form));
    }
  }
  return message;
}

}  // namespace

std::optional<KVLinguistFile> kv_readLinguist(std::string_view bytes) {
  std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc(
      xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "catalogue.ts", nullptr,
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
      &xmlFreeDoc);
  if (!doc) return std::nullopt;
  // "<!DOCTYPE TS>" is usual; declarations inside one (entities) are not.
  if (doc->intSubset != nullptr && doc->intSubset->children != nullptr) return std::nullopt;
  xmlNode* root = xmlDocGetRootElement(doc.get());
  if (root == nullptr || !named(root, "TS")) return std::nullopt;
  KVLinguistFile file;
  file.language = attribute(root, "language");
  file.sourceLanguage = attribute(root, "sourcelanguage");
  if (file.sourceLanguage.empty()) file.sourceLanguage = "en";
  for (xmlNode* context = root->children; context; context = context->next) {
    if (!named(context, "context")) continue;
    std::string name;
    for (xmlNode* child = context->children; child; child = child->next) {
      if (named(child, "name")) name = textOf(child);
      if (named(child, "message")) file.messages.push_back(messageOf(child, name));
    }
  }
  return file;
}

std::string kv_writeLinguist(const KVLinguistFile& file) {
  std::vector<std::string> order;
  std::map<std::string, std::vector<const KVLinguistMessage*>> byContext;
  for (const KVLinguistMessage& message : file.messages) {
    auto& messages = byContext[message.context];
    if (messages.empty()) order.push_back(message.context);
    messages.push_back(&message);
  }
  std::string out =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\" language=\"" +
      escapedAttribute(file.language) + "\" sourcelanguage=\"" +
      escapedAttribute(file.sourceLanguage) + "\">\n";
  for (const std::string& context : order) {
    out += "<context>\n    <name>" + escaped(context) + "</name>\n";
    for (const KVLinguistMessage* message : byContext[context]) {
      out += std::string("    <message") + (message->numerus ? " numerus=\"yes\"" : "") + ">\n";
      out += "        <source>" + escaped(message->source) + "</source>\n";
      if (!message->comment.empty()) {
        out += "        <comment>" + escaped(message->comment) + "</comment>\n";
      }
      const std::string type =
          message->type.empty() ? "" : " type=\"" + escapedAttribute(message->type) + "\"";
      if (message->numerus) {
        out += "        <translation" + type + ">";
        for (const std::string& form : message->translations) {
          out += "\n            <numerusform>" + escaped(form) + "</numerusform>";
        }
        out += "\n        </translation>\n";
      } else {
        const std::string text = message->translations.empty() ? "" : message->translations[0];
        out += "        <translation" + type + ">" + escaped(text) + "</translation>\n";
      }
      out += "    </message>\n";
    }
    out += "</context>\n";
  }
  return out + "</TS>\n";
}

}  // namespace kolvane
