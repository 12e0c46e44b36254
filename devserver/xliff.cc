#include "xliff.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstring>
#include <memory>

#include "strings/xml_nodes.h"

namespace devserver {
namespace {

using kolvane::xml::attribute;
using kolvane::xml::escaped;
using kolvane::xml::named;
using kolvane::xml::walk;

// An element of XLIFF itself: in no namespace or in XLIFF 1.2's, not in a foreign one.
bool xliffElement(xmlNode* node, const char* name) {
  static constexpr std::string_view kXliffNamespace = "urn:oasis:names:tc:xliff:document:1.2";
  return named(node, name) && (node->ns == nullptr ||
                               (node->ns->href != nullptr &&
                                reinterpret_cast<const char*>(node->ns->href) == kXliffNamespace));
}

// The target as this server stores it: its text, escaped, with each placeholder as a plain
// <ph id="..."> element. Markup of any other kind (foreign elements, namespace prefixes) keeps
// only its text, so that nothing an upload carries can break a later export.
std::string canonicalContent(xmlNode* node) {
  std::string out;
  for (xmlNode* child = node->children; child; child = child->next) {
    if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) {
      out += escaped(reinterpret_cast<const char*>(child->content ? child->content : BAD_CAST ""));
    } else if (xliffElement(child, "ph")) {
      out +=
          "<ph id=\"" + escaped(attribute(child, "id")) + "\">" + canonicalContent(child) + "</ph>";
    } else if (child->type == XML_ELEMENT_NODE) {
      out += canonicalContent(child);
    }
  }
  return out;
}

}  // namespace

std::optional<std::vector<XliffUnit>> readXliff(std::string_view bytes) {
  std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc(
      xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "upload.xlf", nullptr,
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
      &xmlFreeDoc);
  // A document type of its own could define entities that no later reader knows.
  if (!doc || doc->intSubset != nullptr) return std::nullopt;
  std::vector<XliffUnit> units;
  std::string headerPhase;
  auto visit = [&](xmlNode* node) {
    if (named(node, "phase") && headerPhase.empty()) headerPhase = attribute(node, "phase-name");
    if (!named(node, "trans-unit")) return;
    XliffUnit unit{attribute(node, "id"), attribute(node, "resname"), attribute(node, "phase-name"),
                   ""};
    for (xmlNode* child = node->children; child; child = child->next) {
      if (named(child, "target")) unit.target = canonicalContent(child);
    }
    units.push_back(std::move(unit));
  };
  walk(xmlDocGetRootElement(doc.get()), visit);
  for (auto& unit : units) {
    if (unit.phase.empty()) unit.phase = headerPhase;
  }
  return units;
}

std::string writeXliff(const std::string& sourceLocale, const std::string& targetLocale,
                       const std::vector<ExportUnit>& units) {
  std::string out =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
      "<file original=\"kolvane-devserver\" source-language=\"" +
      escaped(sourceLocale) + "\" target-language=\"" + escaped(targetLocale) +
      "\" datatype=\"plaintext\">\n<body>\n";
  for (const auto& unit : units) {
    out += "<trans-unit id=\"" + escaped(unit.id) + "\" resname=\"" + escaped(unit.resname) +
           "\">\n<source>" + unit.source + "</source>\n<target>" + unit.target +
           "</target>\n</trans-unit>\n";
  }
  return out + "</body>\n</file>\n</xliff>\n";
}

std::string hashcodeOf(const std::string& unitId) { return unitId.substr(0, unitId.find('[')); }

}  // namespace devserver
