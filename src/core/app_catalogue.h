// What the app's own catalogues answered: every message Kolvane handed out from them (a Qt
// app's translators under Kolvane's), noted as it went by, so that a long press on its text
// finds it and an edit of it starts from it. Below every store: a key a store holds is never
// looked for here. Any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "strings/string_group.h"
#include "strings/string_record.h"

namespace kolvane {

class KVAppCatalogue {
 public:
  // Messages beyond this many are not noted: a process that makes up keys without end must
  // not grow without end.
  static constexpr std::size_t kMaxMessages = 200'000;
  static constexpr std::size_t kMaxAnswers = 4 * kMaxMessages;

  // Notes that `key` was answered `text` (cues included) in the plural category `pluralForm`
  // (none for a message without numerus forms), and that its source text is `source` (UTF-8).
  void note(std::string_view key, std::string_view source, std::u16string_view text,
            const std::optional<std::string>& pluralForm);
  // The noted answer whose matching key (lowercased, placeholders emptied) is `hash`.
  std::shared_ptr<const KVString> stringForHash(std::u16string_view hash) const;
  // The noted answers of `key`, or none.
  std::shared_ptr<const KVStringGroup> groupForKey(std::string_view key) const;
  // The source text of `key` as a group of one form, or none.
  std::shared_ptr<const KVStringGroup> sourceGroupForKey(std::string_view key) const;
  void clear();

 private:
  struct Message {
    std::shared_ptr<const KVStringGroup> answers;
    std::shared_ptr<const KVStringGroup> source;
  };
  bool alreadyNoted(std::string_view key, std::u16string_view text,
                    const std::optional<std::string>& pluralForm) const;

  mutable std::shared_mutex mutex_;
  std::unordered_map<std::string, Message, KVStringHash, std::equal_to<>> messages_;
  struct Answer {
    std::shared_ptr<const KVString> form;
    std::shared_ptr<const KVStringGroup> group;  // keeps the form's group alive
  };
  std::unordered_map<std::u16string, Answer, KVTextHash, std::equal_to<>> byHash_;
};

}  // namespace kolvane
