// Reading a small XML document as a tree with libxml2: elements by name, attributes, text,
// escaping. For the readers of documents that are not streamed (catalogues, targets).
#pragma once

#include <libxml/tree.h>

#include <string>

namespace kolvane::xml {

std::string attribute(xmlNode* node, const char* name);
bool named(xmlNode* node, const char* name);
// The text of `node` and everything below it.
std::string textOf(xmlNode* node);
// Text as element content: "&", "<", ">", "\"" and a carriage return (which a reader would
// take for a line end) as references.
std::string escaped(const std::string& text);
// Text as an attribute value: also line ends and tabs, which a reader would take for spaces.
std::string escapedAttribute(const std::string& text);

// Every element below `node`, depth first, in document order.
template <typename Visit>
void walk(xmlNode* node, Visit& visit) {
  for (xmlNode* child = node; child; child = child->next) {
    if (child->type != XML_ELEMENT_NODE) continue;
    visit(child);
    walk(child->children, visit);
  }
}

}  // namespace kolvane::xml
