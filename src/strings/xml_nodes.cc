#include "strings/xml_nodes.h"

#include <cstring>

namespace kolvane::xml {

std::string attribute(xmlNode* node, const char* name) {
  xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
  std::string text = value ? reinterpret_cast<const char*>(value) : "";
  xmlFree(value);
  return text;
}

bool named(xmlNode* node, const char* name) {
  return node->type == XML_ELEMENT_NODE &&
         std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0;
}

std::string textOf(xmlNode* node) {
  xmlChar* content = xmlNodeGetContent(node);
  std::string text = content ? reinterpret_cast<const char*>(content) : "";
  xmlFree(content);
  return text;
}

std::string escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\r':
        out += "&#13;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string escapedAttribute(const std::string& text) {
  std::string out;
  for (const char c : escaped(text)) {
    if (c == '\n') {
      out += "&#10;";
    } else if (c == '\t') {
      out += "&#9;";
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace kolvane::xml
