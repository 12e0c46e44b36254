#include "strings/xliff_parser.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>

#include <climits>
#include <cstring>

#include "base/callback_guard.h"
#include "base/log.h"
#include "base/utf.h"
#include "strings/cues.h"

namespace kolvane {
namespace {

const std::u16string kEmptyText{kv_beginCue, kv_endCue};

std::string_view view(const xmlChar* text) {
  return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

// Names compare as written in the document, prefix included.
std::string qualifiedName(const xmlChar* localname, const xmlChar* prefix) {
  std::string name;
  if (prefix != nullptr) name = std::string(view(prefix)) + ":";
  return name + std::string(view(localname));
}

struct ParseContext {
  KVXliffParser* reader;
  xmlParserCtxtPtr parser;
  std::optional<KVError> error;
};

ParseContext& contextOf(void* userData) { return *static_cast<ParseContext*>(userData); }

// Runs a SAX callback's body; an exception (running out of memory on a huge text) stops the
// parse with an error instead of unwinding through libxml2.
template <typename Body>
void guardSax(void* userData, Body&& body) {
  if (guardCallback("Reading XLIFF", std::forward<Body>(body))) return;
  ParseContext& context = contextOf(userData);
  if (!context.error) {
    context.error = KVError{kKVErrorDomainXml, XML_ERR_NO_MEMORY, "the document could not be read"};
  }
  xmlStopParser(context.parser);
}

// Without entity substitution the parser hands attribute values over with their character
// references still escaped ("&#38;" for "&"); decode those the way libxml2's own handler does.
// Only predefined entities and character references can be decoded: none is declared here.
std::string attributeValue(ParseContext& context, const xmlChar* begin, const xmlChar* end) {
  const auto length = static_cast<int>(end - begin);
  const std::string_view raw(reinterpret_cast<const char*>(begin),
                             static_cast<std::size_t>(length));
  if (raw.find('&') == std::string_view::npos) return std::string(raw);
  xmlChar* decoded =
      xmlStringLenDecodeEntities(context.parser, begin, length, XML_SUBSTITUTE_REF, 0, 0, 0);
  if (decoded == nullptr) return std::string(raw);
  std::string value(view(decoded));
  xmlFree(decoded);
  return value;
}

void onStartElement(void* userData, const xmlChar* localname, const xmlChar* prefix,
                    const xmlChar* /*uri*/, int /*namespaceCount*/, const xmlChar** /*namespaces*/,
                    int attributeCount, int /*defaulted*/, const xmlChar** attributes) {
  guardSax(userData, [&] {
    ParseContext& context = contextOf(userData);
    std::string id, resname;
    // Each attribute is five pointers: localname, prefix, uri, value start, value end.
    for (int i = 0; i < attributeCount; ++i) {
      const xmlChar** attribute = attributes + i * 5;
      if (attribute[1] != nullptr) continue;
      if (view(attribute[0]) == "id") id = attributeValue(context, attribute[3], attribute[4]);
      if (view(attribute[0]) == "resname") {
        resname = attributeValue(context, attribute[3], attribute[4]);
      }
    }
    context.reader->didStartElement(qualifiedName(localname, prefix), id, resname);
  });
}

void onEndElement(void* userData, const xmlChar* localname, const xmlChar* prefix,
                  const xmlChar* /*uri*/) {
  guardSax(userData,
           [&] { contextOf(userData).reader->didEndElement(qualifiedName(localname, prefix)); });
}

void onCharacters(void* userData, const xmlChar* text, int length) {
  if (length <= 0) return;
  guardSax(userData, [&] {
    contextOf(userData).reader->foundCharacters(
        std::string_view(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)));
  });
}

void onError(void* userData, const xmlError* error) {
  ParseContext& context = contextOf(userData);
  if (context.error || error == nullptr || error->level < XML_ERR_ERROR) return;
  guardCallback("Reporting an XLIFF error", [&] {
    std::string message = error->message ? error->message : "malformed XML";
    while (!message.empty() && message.back() == '\n') message.pop_back();
    context.error = KVError{kKVErrorDomainXml, error->code,
                            "line " + std::to_string(error->line) + ": " + message};
  });
}

xmlSAXHandler makeHandler() {
  xmlSAXHandler handler;
  std::memset(&handler, 0, sizeof handler);
  handler.initialized = XML_SAX2_MAGIC;
  handler.startElementNs = onStartElement;
  handler.endElementNs = onEndElement;
  handler.characters = onCharacters;
  handler.ignorableWhitespace = onCharacters;
  handler.cdataBlock = onCharacters;
  // No entity handlers: entities the document declares are never stored nor expanded.
  return handler;
}

std::optional<KVError> runParse(std::string_view data, KVXliffParser& reader) {
  if (data.size() > static_cast<std::size_t>(INT_MAX)) {
    return KVError{kKVErrorDomainXml, XML_ERR_NO_MEMORY, "document too large"};
  }
  xmlParserCtxtPtr context = xmlCreateMemoryParserCtxt(data.data(), static_cast<int>(data.size()));
  if (context == nullptr)
    return KVError{kKVErrorDomainXml, XML_ERR_DOCUMENT_EMPTY, "empty document"};
  xmlCtxtUseOptions(context, XML_PARSE_NONET);
  *context->sax = makeHandler();
  // Errors go to this handler with the parse's own user data, never to stderr.
  context->sax->serror = [](void* userData, xmlErrorPtr error) { onError(userData, error); };
  ParseContext parse{&reader, context, std::nullopt};
  context->userData = &parse;
  const int result = xmlParseDocument(context);
  const bool wellFormed = context->wellFormed != 0;
  xmlFreeParserCtxt(context);
  if (parse.error) return parse.error;
  if (result != 0 || !wellFormed)
    return KVError{kKVErrorDomainXml, XML_ERR_INTERNAL_ERROR, "malformed XML"};
  return std::nullopt;
}

// Roughly how many units the document holds, so the dictionary is sized once rather than
// rehashed as it grows; a quick scan costs far less than the rehashing.
std::size_t unitCountHint(std::string_view data) {
  constexpr std::string_view kUnit = "<trans-unit";
  std::size_t count = 0;
  for (std::size_t at = data.find(kUnit); at != std::string_view::npos;
       at = data.find(kUnit, at + kUnit.size())) {
    ++count;
  }
  return count;
}

}  // namespace

void KVXliffParser::parseXliffDataInto(KVStringTableBuilder& builder, std::string_view data,
                                       unsigned stringStatus, std::optional<KVError>* error) {
  KVXliffParser reader;
  builder.reserve(unitCountHint(data), data.size());
  reader.builder = &builder;
  reader.stringStatus = stringStatus;
  auto failure = runParse(data, reader);
  if (error != nullptr) *error = std::move(failure);
}

KVStringGroups KVXliffParser::parseXliffData(std::string_view data, KVStringGroups* sourceStrings,
                                             unsigned stringStatus, std::optional<KVError>* error) {
  KVXliffParser reader;
  reader.strings.reserve(unitCountHint(data));
  reader.stringStatus = stringStatus;
  if (sourceStrings != nullptr) reader.sourceStrings.emplace();
  auto failure = runParse(data, reader);
  if (error != nullptr) *error = std::move(failure);
  if (sourceStrings != nullptr) *sourceStrings = *reader.sourceStrings;
  return std::move(reader.strings);
}

void KVXliffParser::didStartElement(std::string_view name, std::string_view id,
                                    std::string_view resname) {
  if (name == "trans-unit") {
    state = kNowhere;
    pluralForm.reset();
    uid = id;
    key = resname;
    const std::size_t bracket = uid.find('[');
    if (!uid.empty() && uid.back() == ']' && bracket != std::string::npos) {
      // The second "[" piece without its last character.
      const std::size_t next = uid.find('[', bracket + 1);
      const std::string piece =
          uid.substr(bracket + 1, next == std::string::npos ? next : next - bracket - 1);
      pluralForm = piece.empty() ? std::string() : piece.substr(0, piece.size() - 1);
    }
    source.clear();
    target.clear();
    note.clear();
  } else if (name == "source") {
    state = kSource;
    if (needCues) source += kv_beginCue;
  } else if (name == "target") {
    state = kTarget;
    if (needCues) target += kv_beginCue;
  } else if (name == "note") {
    state = kNote;
  } else if (name == "ph" && needCues) {
    if (state == kSource) source += kv_placeholderBeginCue;
    if (state == kTarget) target += kv_placeholderBeginCue;
  }
}

void KVXliffParser::didEndElement(std::string_view name) {
  if (name == "source" || name == "target") {
    if (needCues) (name == "source" ? source : target) += kv_endCue;
    state = kNowhere;
  } else if (name == "ph" && needCues) {
    if (state == kSource) source += kv_placeholderEndCue;
    if (state == kTarget) target += kv_placeholderEndCue;
  } else if (name == "trans-unit") {
    // A closed note leaves the state on the note, so the text up to here joins the note.
    state = kNowhere;
    if (target != kEmptyText && !refusedForBrokenPlaceholder(target)) {
      if (builder) {
        builder->addUnit(key, uid, pluralForm, target, note, stringStatus);
      } else {
        addString(strings, std::move(target), stringStatus);
      }
    }
    if (sourceStrings && source != kEmptyText) {
      addString(*sourceStrings, std::move(source), KVStringStatusUntranslated);
    }
  }
}

void KVXliffParser::foundCharacters(std::string_view utf8) {
  switch (state) {
    case kSource:
      // Source texts are only kept when asked for: most loads never look at them.
      if (sourceStrings) appendUtf16(source, utf8);
      break;
    case kTarget:
      appendUtf16(target, utf8);
      break;
    case kNote:
      appendUtf16(note, utf8);
      break;
    default:
      break;
  }
}

bool KVXliffParser::refusedForBrokenPlaceholder(std::u16string_view text) const {
  // A placeholder with no specifier would take no capsule, and one left open (its end came
  // inside a note) or nested would swallow the text after it: either way the capsules would
  // stand for the wrong specifiers and a save would write them shifted. The unit is not read.
  bool open = false;
  bool broken = false;
  for (std::size_t at = 0; at < text.size() && !broken; ++at) {
    if (text[at] == kv_placeholderBeginCue) {
      broken = open || (at + 1 < text.size() && text[at + 1] == kv_placeholderEndCue);
      open = true;
    } else if (text[at] == kv_placeholderEndCue) {
      broken = !open;
      open = false;
    }
  }
  if (!broken && !open) return false;
  kvDebug("Unit " + uid + " (" + key +
          ") not read: a placeholder without a specifier or not closed");
  return true;
}

void KVXliffParser::addString(KVStringGroups& groups, std::u16string&& text, unsigned status) {
  auto string = std::make_shared<KVString>();
  string->key = key;
  string->note = note;
  string->uid = uid;
  string->pluralForm = pluralForm;
  string->extractFormatFromString(std::move(text));
  auto& group = groups[key];
  if (group) {
    group->status = status;
  } else {
    group = std::make_shared<KVStringGroup>();
  }
  group->addStringForm(string);
}

}  // namespace kolvane
