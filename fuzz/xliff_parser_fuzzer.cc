// Any bytes as a downloaded XLIFF file: the reader must report or read them, never crash, and
// what it read must write out and read back the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "strings/cues.h"
#include "strings/xliff_parser.h"
#include "strings/xliff_writer.h"

namespace {

using namespace kolvane;

// The writer tags only placeholders with a text and writes no cue characters, as files of the
// reader's own have none; an empty <ph/> or a cue character read from elsewhere is the one
// thing not written back. So the texts compare without cues, and their placeholders one by one
// (without cues too: a cue read inside a placeholder is not written either).
// Placeholders that nest or do not pair up (a <ph> inside a <ph>, a cue character in the text)
// have no <ph> form to be written in; such texts are not compared.
bool placeholdersPairUp(std::u16string_view text) {
  bool inside = false;
  for (char16_t c : text) {
    if (c == kv_placeholderBeginCue) {
      if (inside) return false;
      inside = true;
    } else if (c == kv_placeholderEndCue) {
      if (!inside) return false;
      inside = false;
    }
  }
  return !inside;
}

std::vector<std::u16string> specifiersWithoutCues(const KVString& string) {
  std::vector<std::u16string> specifiers;
  for (const auto& specifier : string.argumentFormatSpecifiers) {
    specifiers.push_back(kv_stringByRemovingCues(specifier));
  }
  return specifiers;
}

bool sameText(const KVString& a, const KVString& b) {
  if (!placeholdersPairUp(b.localizedFormat)) return true;
  return kv_stringByRemovingCues(a.localizedFormat) == kv_stringByRemovingCues(b.localizedFormat) &&
         specifiersWithoutCues(a) == specifiersWithoutCues(b);
}

void checkFormReadsBack(const KVString& form, const std::string& name,
                        const KVWriteFailures& failures, const KVStringGroups& reread) {
  // Not written, or written as an empty target, which carries nothing to read back.
  if (failures.count(form.key) != 0 || kv_stringByRemovingCues(form.localizedFormat).empty()) {
    return;
  }
  const auto back = reread.find(form.key);
  if (back == reread.end()) std::abort();
  const auto backForm = back->second->pluralForms.find(name);
  if (backForm == back->second->pluralForms.end()) std::abort();
  if (!sameText(*backForm->second, form)) std::abort();
  if (backForm->second->uid != form.uid) std::abort();
}

// Every form written (not reported as a failure) reads back with its key, text and unit id.
// A group without plurals is written as its one default form (units that share a key, or
// have none, are one group when read).
void checkReadsBack(const KVStringGroups& strings, const KVWriteFailures& failures,
                    const KVStringGroups& reread) {
  for (const auto& [key, group] : strings) {
    if (!group) continue;
    if (!group->hasPlurals) {
      const auto form = group->stringForPluralForm(std::nullopt, false);
      if (form) checkFormReadsBack(*form, "none", failures, reread);
      continue;
    }
    for (const auto& [name, form] : group->pluralForms) {
      checkFormReadsBack(*form, name, failures, reread);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  KVStringGroups sources;
  std::optional<KVError> error;
  const KVStringGroups strings = KVXliffParser::parseXliffData(bytes, &sources, 1, &error);
  if (error) return 0;
  KVWriteFailures failures;
  const std::string written = KVXliffWriter::xliffFromStrings(strings, {}, &failures);
  std::optional<KVError> rereadError;
  const KVStringGroups reread = KVXliffParser::parseXliffData(written, nullptr, 0, &rereadError);
  if (rereadError) std::abort();
  checkReadsBack(strings, failures, reread);
  return 0;
}
