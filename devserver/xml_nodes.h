// What the dev server's XML readers share: libxml2 nodes by name, attributes, escaping.
#pragma once

#include <libxml/tree.h>

#include <string>

namespace devserver {

std::string attribute(xmlNode* node, const char* name);
bool named(xmlNode* node, const char* name);
// The text of `node` and everything below it.
std::string textOf(xmlNode* node);
std::string escaped(const std::string& text);

// Every element below `node`, depth first, in document order.
template <typename Visit>
void walk(xmlNode* node, Visit& visit) {
  for (xmlNode* child = node; child; child = child->next) {
    if (child->type != XML_ELEMENT_NODE) continue;
    visit(child);
    walk(child->children, visit);
  }
}

}  // namespace devserver
