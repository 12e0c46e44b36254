#include "strings/xliff_writer.h"

#include "base/utf.h"
#include "kolvane/platform.h"
#include "strings/cues.h"

namespace kolvane {
namespace {

constexpr std::string_view kFooter = "</body>\n</file>\n</xliff>";

std::u16string escapedText(std::u16string_view text, bool inAttribute) {
  std::u16string out;
  out.reserve(text.size());
  for (char16_t c : text) {
    switch (c) {
      case u'&':
        out += u"&amp;";
        break;
      case u'<':
        out += u"&lt;";
        break;
      case u'>':
        out += u"&gt;";
        break;
      case u'"':
        out += inAttribute ? u"&quot;" : u"\"";
        break;
      // A reader turns raw line ends into \n, and in attributes raw breaks and tabs into spaces.
      case u'\r':
        out += u"&#13;";
        break;
      case u'\n':
        out += inAttribute ? u"&#10;" : u"\n";
        break;
      case u'\t':
        out += inAttribute ? u"&#9;" : u"\t";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string attribute(std::string_view value) { return toUtf8(escapedText(toUtf16(value), true)); }

std::string header(const KVXliffContext& context) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<xliff version=\"1.2\" xmlns=\"urn:oasis:names:tc:xliff:document:1.2\"\n"
         "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"\n"
         "xsi:schemaLocation=\"urn:oasis:names:tc:xliff:document:1.2 "
         "xliff-core-1.2-strict.xsd\">\n"
         "<file original=\"kolvane_offline_cat_data.xliff\" source-language=\"" +
         attribute(context.sourceLanguage) + "\" target-language=\"" +
         attribute(context.targetLanguage) +
         "\" datatype=\"plaintext\">\n<header>\n<phase-group>\n<phase phase-name=\"" +
         attribute(context.phaseName) + "\" process-name=\"" + attribute(context.processName) +
         "\"/>\n</phase-group>\n</header>\n<body>\n\n";
}

std::string sourceTextFor(const KVString& string, const KVXliffContext& context) {
  const auto source = context.sourceForm ? context.sourceForm(string) : nullptr;
  return source ? KVXliffWriter::stringWithTagsForString(*source) : std::string();
}

void appendUnit(std::string& body, const std::shared_ptr<KVString>& form,
                const KVXliffContext& context, KVWriteFailures* failures) {
  if (auto unit = KVXliffWriter::xliffForString(*form, context)) {
    body += *unit;
  } else if (failures != nullptr) {
    (*failures)[form->key] = form;
  }
}

}  // namespace

std::string KVXliffWriter::stringWithTagsForString(const KVString& string) {
  int counter = 0;
  const std::u16string tagged = kv_enumerateCuesUsingBlock(
      escapedText(string.localizedFormat, false), [&](std::u16string_view placeholder) {
        return std::optional<std::u16string>(u"<ph id=\"" + toUtf16(std::to_string(++counter)) +
                                             u"\" ctype=\"x-kolvane-placeholder\">" +
                                             std::u16string(placeholder) + u"</ph>");
      });
  return toUtf8(kv_stringByRemovingCues(tagged));
}

std::optional<std::string> KVXliffWriter::xliffForString(const KVString& string,
                                                         const KVXliffContext& context) {
  if (string.localizedFormat.empty() || string.uid.empty()) return std::nullopt;
  return "<trans-unit id=\"" + attribute(string.uid) + "\" resname=\"" + attribute(string.key) +
         "\" phase-name=\"" + attribute(context.phaseName) + "\">\n<source>" +
         sourceTextFor(string, context) + "</source>\n<target>" + stringWithTagsForString(string) +
         "</target>\n</trans-unit>\n\n";
}

std::string KVXliffWriter::xliffFromStrings(const KVStringGroups& strings,
                                            const KVXliffContext& context,
                                            KVWriteFailures* failures) {
  std::string document = header(context);
  for (const auto& [key, group] : strings) {
    if (!group) continue;
    if (!group->hasPlurals) {
      if (auto form = group->stringForPluralForm(std::nullopt, false)) {
        appendUnit(document, form, context, failures);
      }
      continue;
    }
    document += "<group restype=\"x-cldr-plurals\">\n";
    for (const auto& [name, form] : group->pluralForms)
      appendUnit(document, form, context, failures);
    document += "</group>\n\n";
  }
  return document + std::string(kFooter);
}

std::optional<KVError> KVXliffWriter::writeXliffFromStrings(const KVStringGroups& strings,
                                                            const KVXliffContext& context,
                                                            const std::string& path,
                                                            KVWriteFailures* failures) {
  const std::string document = xliffFromStrings(strings, context, failures);
  if (Platform::current().fileSystem().writeFileAtomically(path, document)) return std::nullopt;
  if (failures != nullptr) {
    for (const auto& [key, group] : strings) (*failures)[key] = group;
  }
  return KVError{kKVErrorDomainFile, kKVErrorCodeInternal, "Could not write " + path};
}

}  // namespace kolvane
